function h = show_field(p, grid, varargin)
%SHOW_FIELD  Picture of a field on a plane of a regular grid.
%   kestrel.show_field(P, GRID) draws the magnitude of the field P, in decibels
%   below its largest value, in the current axes. P is nx-by-ny-by-nz and GRID the
%   regular grid that it was computed on. When one axis of the grid has a single
%   value, that plane is drawn; when two have, the field along the line is; when
%   none has, the plane y = constant through the largest value is. Axes are in
%   millimetres at equal scale.
%
%   kestrel.show_field(P, GRID, Name, Value, ...) with
%      'scale'   'dB' (default), 'linear' for the magnitude as it is, or 'phase'
%                in radians
%      'range'   [low high] of the colours; default [-40 0] for dB, from 0 to the
%                largest value for linear, [-pi pi] for phase
%      'slice'   'x', 'y' or 'z': the axis that is normal to the plane to draw
%      'at'      where that plane cuts its axis, in metres; the nearest plane of
%                the grid is drawn. Default: the plane through the largest value
%      'title'   text above the picture
%      'file'    name of a PNG file, about 1000 pixels wide, to draw to instead of
%                the screen; no display is needed
%
%   H = kestrel.show_field(...) returns the axes (not with 'file').
%
%   0 dB is the largest magnitude in all of P, not only in the plane. Values that
%   are not finite stay blank.
%
%   Errors: a list of points instead of a regular grid, P of another size than the
%   grid, an unknown option or value.
%
%   Example:
%      kestrel.show_field(p, grid, 'range', [-30 0], 'file', 'field.png');
%
%   See also kestrel.cw_field, kestrel.show_array, set_coordinate_grid.
  caller = 'kestrel.show_field';
  kestrel.detail.check_grid(caller, grid);
  if isfield(grid, 'coordinates')
    error('kestrel:argument', '%s: only a regular grid can be drawn, not a list of points.', ...
          caller);
  end
  values = kestrel.detail.grid_axes(grid);
  counts = cellfun(@numel, values);
  if ~isnumeric(p) || numel(p) ~= prod(counts)
    error('kestrel:argument', '%s: the grid has %d by %d by %d points, but p has %d values.', ...
          caller, counts(1), counts(2), counts(3), numel(p));
  end
  if prod(counts) == 1
    error('kestrel:argument', '%s: the grid is a single point.', caller);
  end
  defaults = struct('scale', 'dB', 'range', [], 'slice', '', 'at', [], 'title', '', 'file', '');
  options = kestrel.detail.parse_options(caller, defaults, varargin);
  options.scale = kestrel.detail.check_choice(caller, 'scale', options.scale, ...
                                              {'dB', 'linear', 'phase'});
  options.file = kestrel.detail.check_file(caller, options.file);
  if ~ischar(options.title)
    error('kestrel:option', '%s: title must be text.', caller);
  end

  p = reshape(p, counts);
  [normal, index] = choose_plane(caller, p, values, options);
  [shown, range, label] = scaled(caller, p, options);
  cut = {':', ':', ':'};
  cut{normal} = index;
  in_plane = setdiff(1:3, normal);
  shown = reshape(shown(cut{:}), counts(in_plane));

  canvas = kestrel.detail.open_canvas(options.file);
  closer = onCleanup(@() kestrel.detail.close_canvas(canvas));
  if any(counts(in_plane) == 1)
    along = in_plane(counts(in_plane) > 1);
    draw_line(canvas.axes, values{along}, along, shown(:), range, label);
  else
    draw_plane(canvas, values(in_plane), in_plane, shown, range, label, options.scale);
  end
  heading = options.title;
  if isempty(heading) && counts(normal) > 1
    heading = sprintf('%s = %.4g mm', axis_name(normal), 1e3 * values{normal}(index));
  end
  title(canvas.axes, heading);
  kestrel.detail.save_canvas(canvas);
  if nargout > 0
    h = canvas.axes;
  end
end

% The axis normal to the plane that is drawn, and the plane's index on it.
function [normal, index] = choose_plane(caller, p, values, options)
  single = find(cellfun(@numel, values) == 1);
  if ~isempty(options.slice)
    slice = kestrel.detail.check_choice(caller, 'slice', options.slice, {'x', 'y', 'z'});
    normal = find(strcmp(slice, {'x', 'y', 'z'}));
  elseif any(single == 2) || isempty(single)
    normal = 2;
  else
    normal = single(1);
  end
  if all(cellfun(@numel, values(setdiff(1:3, normal))) == 1)
    error('kestrel:option', '%s: the grid has a single point in a plane normal to %s.', ...
          caller, axis_name(normal));
  end
  if isempty(options.at)
    [~, peak] = max(abs(p(:)));
    subscripts = cell(1, 3);
    [subscripts{:}] = ind2sub(cellfun(@numel, values), peak);
    index = subscripts{normal};
  else
    at = kestrel.detail.check_scalar(caller, 'at', options.at);
    [~, index] = min(abs(values{normal} - at));
  end
end

% What the colours show, in which range, and what to call it.
function [shown, range, label] = scaled(caller, p, options)
  magnitude = abs(p);
  finite = magnitude(isfinite(magnitude));
  peak = max([finite(:); 0]);
  if peak == 0
    peak = 1;
  end
  switch options.scale
    case 'dB'
      shown = 20 * log10(max(magnitude / peak, 1e-300));
      shown(isnan(p)) = NaN;
      range = [-40 0];
      label = '|p| re largest (dB)';
    case 'linear'
      shown = magnitude;
      range = [0 peak];
      label = '|p| (Pa)';
    case 'phase'
      shown = angle(p);
      range = [-pi pi];
      label = 'phase (rad)';
  end
  shown(~isfinite(p)) = NaN;
  if ~isempty(options.range)
    range = kestrel.detail.check_vector(caller, 'range', options.range, 2);
    if range(2) <= range(1)
      error('kestrel:option', '%s: range must be [low high] with low below high.', caller);
    end
  end
  shown = min(max(shown, range(1)), range(2));
  shown(~isfinite(p)) = NaN;
end

% Direction of propagation, z, to the right where it is in the plane; else x to the right.
function draw_plane(canvas, values, in_plane, shown, range, label, scale)
  if any(in_plane == 3)
    across = 2;
  else
    across = 1;
    shown = shown.';
  end
  x = 1e3 * values{across};
  y = 1e3 * values{3 - across};
  ax = canvas.axes;
  imagesc(ax, x([1 end]), y([1 end]), shown);
  set(ax, 'ydir', 'normal', 'clim', range, 'layer', 'top', 'box', 'on', 'tickdir', 'out');
  axis(ax, 'equal');
  axis(ax, [edges(x), edges(y)]);
  colormap(ax, kestrel.detail.field_colours(scale));
  bar = colorbar(ax);
  ylabel(bar, label);
  xlabel(ax, [axis_name(in_plane(across)), ' (mm)']);
  ylabel(ax, [axis_name(in_plane(3 - across)), ' (mm)']);
  if ~isempty(canvas.file)
    kestrel.detail.fit_page(canvas, diff(edges(x)) / diff(edges(y)), bar);
  end
end

function draw_line(ax, x, along, shown, range, label)
  plot(ax, 1e3 * x(:), shown, 'linewidth', 1.5);
  set(ax, 'ylim', range, 'xlim', 1e3 * x([1 end]), 'box', 'on');
  grid(ax, 'on');
  xlabel(ax, [axis_name(along), ' (mm)']);
  ylabel(ax, label);
end

% The outer edges of the first and the last pixel.
function limits = edges(x)
  half = (x(2) - x(1)) / 2;
  limits = [x(1) - half, x(end) + half];
end

function name = axis_name(index)
  names = 'xyz';
  name = names(index);
end
