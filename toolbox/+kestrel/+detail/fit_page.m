function fit_page(canvas, aspect, bar)
%FIT_PAGE  Cuts the page of a hidden canvas to a picture of width / height ASPECT.
%   The picture fills the page but for the room that a title and, with a colour bar
%   BAR, labels need. The bar is made as high as the picture.
  above = 0.45;
  left = 0.1;
  right = 0.1;
  below = 0.1;
  if nargin > 2
    left = 0.75;
    right = 1.35;
    below = 0.7;
  end
  width = min(8 - left - right, 6.4 * aspect);
  height = width / aspect;
  left = max(left, (4 - width) / 2);   % room for a title over a narrow picture
  page = [left + width + max(right, left), below + max(height, 1) + above];
  set(canvas.figure, 'paperposition', [0 0 page]);
  set(canvas.axes, 'position', ...
      [left / page(1), below / page(2), width / page(1), height / page(2)]);
  if nargin > 2
    set(bar, 'position', [(left + width + 0.15) / page(1), below / page(2), ...
                          0.2 / page(1), height / page(2)]);
  end
end
