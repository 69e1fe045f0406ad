function save_canvas(caller, canvas)
%SAVE_CANVAS  Writes a hidden canvas to its file: as a PNG of 125 pixels to the inch of its page
%   (1000 by 800 unless the page was cut to its picture), or as a PDF or SVG of that page.
%   The picture is made under a temporary name and then copied byte by byte: the name that
%   the user gave reaches no command line and no script, whatever it holds.
  if isempty(canvas.file)
    return
  end
  [~, ~, extension] = fileparts(canvas.file);
  extension = lower(extension);
  device = ['-d', extension(2:end)];
  if strcmp(extension, '.pdf') && kestrel.detail.uses_gnuplot(canvas.figure)
    device = '-dpdfcairo';   % the other way needs Ghostscript
    for object = findall(canvas.figure, '-property', 'fontsize').'
      set(object, 'fontsize', 2 * get(object, 'fontsize'));   % it shows text at half the size
    end
  end
  made = [tempname(), extension];
  remover = onCleanup(@() remove(made));
  page = get(canvas.figure, 'paperposition');
  set(canvas.figure, 'papersize', page(3:4));
  try
    print(canvas.figure, made, device, '-r125');
    content = bytes_of(made);
  catch problem
    error('kestrel:file', '%s: the picture could not be made: %s', caller, problem.message);
  end
  [output, reason] = fopen(canvas.file, 'w');
  if output < 0
    error('kestrel:file', '%s: ''%s'' cannot be written: %s.', caller, canvas.file, reason);
  end
  written = fwrite(output, content, 'uint8');
  if fclose(output) ~= 0 || written ~= numel(content)
    error('kestrel:file', '%s: ''%s'' could not be written whole.', caller, canvas.file);
  end
end

function content = bytes_of(file)
  input = fopen(file, 'r');
  if input < 0
    error('kestrel:file', 'nothing was drawn.');
  end
  content = fread(input, Inf, '*uint8');
  fclose(input);
  if isempty(content)
    error('kestrel:file', 'nothing was drawn.');
  end
end

function remove(file)
  if exist(file, 'file') == 2
    delete(file);
  end
end
