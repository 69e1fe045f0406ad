function fit_page(canvas, aspect, bar)
%FIT_PAGE  Cuts the page of a hidden canvas to a picture of width / height ASPECT.
%   The picture fills the page but for the room that a title and the labels need. With BAR
%   there are labels at the picture's axes, and BAR, where it is not empty, is a colour bar:
%   it is made as high as the picture, and at least so high that its label fits.
  above = 0.45;
  left = 0.1;
  right = 0.1;
  below = 0.1;
  lowest = 1;
  if nargin > 2
    left = 0.8;
    below = 0.7;
    right = 0.3;
    if ~isempty(bar)
      right = 1.4;
      lowest = 1.8;
    end
  end
  width = min(8 - left - right, 6.4 * aspect);
  height = width / aspect;
  left = max(left, (4 - width) / 2);   % room for a title over a narrow picture
  page = [left + width + max(right, left), below + max(height, lowest) + above];
  set(canvas.figure, 'paperposition', [0 0 page]);
  set(canvas.axes, 'position', [left, below + (page(2) - above - below - height) / 2, ...
                                width, height] ./ [page, page]);
  if nargin > 2
    kestrel.detail.set_ticks(canvas.axes, [width, height]);
    if ~isempty(bar)
      set(bar, 'position', [left + width + 0.15, below, 0.2, page(2) - below - above] ...
                           ./ [page, page]);
      kestrel.detail.fit_font(kestrel.detail.bar_label(bar), page(2) - 0.2);
    end
  end
  kestrel.detail.fit_font(get(canvas.axes, 'title'), page(1) - 0.2);
end
