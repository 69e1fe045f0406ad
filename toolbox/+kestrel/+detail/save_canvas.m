function save_canvas(canvas)
%SAVE_CANVAS  Writes a hidden canvas to its PNG file: 125 pixels to the inch of
%   its page, so 1000 by 800 unless fit_page cut the page to its picture.
  if ~isempty(canvas.file)
    print(canvas.figure, canvas.file, '-dpng', '-r125');
  end
end
