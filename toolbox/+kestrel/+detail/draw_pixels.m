function draw_pixels(ax, x, y, index, map, range)
%DRAW_PIXELS  An image in true colours: pixel (i, j) has the colour MAP(INDEX(i, j), :).
%   Its columns lie from X(1) to X(end) and its rows from Y(1) up to Y(end). RANGE is that of
%   the axes' colour bar. Octave's gnuplot spreads true colours over this range.
  colours = reshape(map(index, :), [size(index), 3]);
  if kestrel.detail.uses_gnuplot(ancestor(ax, 'figure'))
    colours = range(1) + diff(range) * colours;
  end
  imagesc(ax, x([1 end]), y([1 end]), colours);
  set(ax, 'ydir', 'normal', 'clim', range);
end
