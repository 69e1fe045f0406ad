function file = check_file(caller, file)
%CHECK_FILE  Name of a PNG, PDF or SVG file in an existing folder, or empty.
  if isempty(file)
    file = '';
    return
  end
  if ~ischar(file) || ~isrow(file)
    error('kestrel:option', '%s: file must be a file name.', caller);
  end
  [folder, ~, extension] = fileparts(file);
  if ~any(strcmpi(extension, {'.png', '.pdf', '.svg'}))
    error('kestrel:option', '%s: file must end in .png, .pdf or .svg, but it is ''%s''.', ...
          caller, file);
  end
  if ~isempty(folder) && exist(folder, 'dir') ~= 7
    error('kestrel:option', '%s: the folder ''%s'' does not exist.', caller, folder);
  end
end
