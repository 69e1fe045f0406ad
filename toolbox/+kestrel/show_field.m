function h = show_field(p, grid, varargin)
%SHOW_FIELD  Picture of a field on a plane of a regular grid, or in a volume.
%   kestrel.show_field(P, GRID) draws the magnitude of the field P, in decibels
%   below its largest value. P is nx-by-ny-by-nz and GRID the regular grid that it was
%   computed on. When one axis of the grid has a single value, that plane is drawn in
%   the current axes; when two have, the field along the line is. When none has, the
%   current figure shows three cuts at right angles through the largest value; dotted
%   lines are where each cuts the others. Axes are in millimetres at equal scale.
%
%   kestrel.show_field(P, GRID, Name, Value, ...) with
%      'scale'       'dB' (default), 'linear' for the magnitude as it is, or 'phase'
%                    in radians
%      'range'       [low high] of the colours; default [-40 0] for dB, from 0 to the
%                    largest value for linear, [-pi pi] for phase
%      'slice'       'x', 'y' or 'z': draws only the plane normal to this axis
%      'at'          where that plane cuts its axis, in metres; for three cuts the
%                    point [x y z] in which they meet. The nearest planes of the grid
%                    are drawn. Default: through the largest value
%      'isosurface'  a level: draws the surface in space on which the field has it
%                    instead of cuts; in dB below the largest value (as -6), or in the
%                    field's unit with the scale 'linear'
%      'view'        [azimuth elevation] in degrees for a surface, default [-37.5 20]
%      'label'       text at the colours, for what else P may be than a pressure in Pa
%      'title'       text above the picture
%      'file'        name of a PNG file, about 1000 pixels wide, to draw to instead of
%                    the screen; no display is needed
%
%   H = kestrel.show_field(...) returns the axes (not with 'file'); of three cuts, those
%   normal to x, y and z.
%
%   0 dB is the largest magnitude in all of P, not only in the plane. Values that
%   are not finite stay blank.
%
%   Errors: a list of points instead of a regular grid, P of another size than the
%   grid, a surface of less than a volume, an unknown option or value.
%
%   Examples:
%      kestrel.show_field(p, grid, 'range', [-30 0], 'file', 'field.png');
%      kestrel.show_field(p, grid, 'isosurface', -6);
%      kestrel.show_field(1e-4 * kestrel.intensity(p, medium), grid, ...
%                         'scale', 'linear', 'label', 'intensity (W/cm^2)');
%
%   See also kestrel.cw_field, kestrel.beam_metrics, kestrel.show_array,
%   set_coordinate_grid.
  caller = 'kestrel.show_field';
  kestrel.detail.check_count(caller, nargin, 2, '(p, grid, name, value, ...)');
  [p, values] = kestrel.detail.check_field(caller, p, grid, 'drawn');
  counts = cellfun(@numel, values);
  if prod(counts) == 1
    error('kestrel:argument', '%s: the grid is a single point.', caller);
  end
  defaults = struct('scale', 'dB', 'range', [], 'slice', '', 'at', [], 'isosurface', [], ...
                    'view', [-37.5 20], 'label', '', 'title', '', 'file', '');
  options = kestrel.detail.parse_options(caller, defaults, varargin);
  options.scale = kestrel.detail.check_choice(caller, 'scale', options.scale, ...
                                              {'dB', 'linear', 'phase'});
  options.view = kestrel.detail.check_vector(caller, 'view', options.view, 2);
  options.file = kestrel.detail.check_file(caller, options.file);
  options.title = kestrel.detail.check_text(caller, 'title', options.title);
  options.label = kestrel.detail.check_text(caller, 'label', options.label);
  [shown, range, label] = scaled(caller, p, options);
  if ~isempty(options.label)
    label = options.label;
  end

  if ~isempty(options.isosurface)
    scene = surface(caller, p, values, options);
    draw = @(canvas) draw_surface(canvas, scene, options);
  elseif all(counts > 1) && isempty(options.slice)
    index = meeting_point(caller, p, values, options.at);
    draw = @(canvas) draw_cuts(canvas, values, shown, index, range, label, options);
  else
    [normal, index] = choose_plane(caller, p, values, options);
    draw = @(canvas) draw_single(canvas, values, shown, normal, index, range, label, options);
  end
  canvas = kestrel.detail.open_canvas(options.file);
  closer = onCleanup(@() kestrel.detail.close_canvas(canvas));
  axes_drawn = draw(canvas);
  kestrel.detail.save_canvas(caller, canvas);
  if nargout > 0
    h = axes_drawn;
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
    index = meeting_point(caller, p, values, []);
    index = index(normal);
  else
    at = kestrel.detail.check_scalar(caller, 'at', options.at);
    [~, index] = min(abs(values{normal} - at));
  end
end

% Indices of the largest value, or of the point of the grid nearest to AT.
function index = meeting_point(caller, p, values, at)
  index = zeros(1, 3);
  if isempty(at)
    [~, peak] = max(abs(p(:)));
    [index(1), index(2), index(3)] = ind2sub(cellfun(@numel, values), peak);
    return
  end
  at = kestrel.detail.check_vector(caller, 'at', at, 3);
  for d = 1:3
    [~, index(d)] = min(abs(values{d} - at(d)));
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

% The field on one plane, or along a line.
function ax = draw_single(canvas, values, shown, normal, index, range, label, options)
  ax = canvas.axes;
  counts = cellfun(@numel, values);
  in_plane = setdiff(1:3, normal);
  shown = cut_through(shown, normal, index);
  if any(counts(in_plane) == 1)
    along = in_plane(counts(in_plane) > 1);
    draw_line(canvas, values{along}, along, shown(:), range, label);
  else
    % Direction of propagation, z, to the right where it is in the plane; else x.
    right = in_plane(2);
    up = in_plane(1);
    if normal == 3
      [right, up] = deal(1, 2);
    end
    limits = draw_image(ax, values, right, up, shown, range, options.scale);
    bar = colorbar(ax);
    kestrel.detail.write_text(ylabel(bar, ' '), label);
    if ~isempty(canvas.file)
      kestrel.detail.fit_page(canvas, diff(limits(1:2)) / diff(limits(3:4)), bar);
    end
  end
  heading = options.title;
  if isempty(heading) && counts(normal) > 1
    heading = plane_name(values, normal, index);
  end
  kestrel.detail.write_text(title(ax, ' '), heading);
end

% Three cuts as in a technical drawing: x-z and y-z with z to the right, one above the other,
% and x-y beside the first; all at one scale.
function panels = draw_cuts(canvas, values, shown, index, range, label, options)
  figure_size = get(canvas.figure, 'position');
  page = 8 * [1, figure_size(4) / figure_size(3)];   % inches
  if isempty(canvas.file)
    clf(canvas.figure);
  else
    page = [8, 8];
    delete(canvas.axes);
  end
  extent = cellfun(@(v) 1e3 * numel(v) * (v(2) - v(1)), values);
  left = 0.75;
  below = 0.65;
  between = [0.85, 0.85];
  room = page - [left + between(1) + 0.15, below + between(2) + 0.75];
  room(1) = room(1) - max(1.3 - room(1) * extent(2) / (extent(3) + extent(2)), 0);
  scale = min(room ./ [extent(3) + extent(2), extent(1) + extent(2)]);
  sizes = scale * extent;
  if ~isempty(canvas.file)
    page = [left + sizes(3) + between(1) + max(sizes(2) + 0.15, 1.3), ...
            below + sizes(2) + between(2) + sizes(1) + 0.75];
    set(canvas.figure, 'paperposition', [0 0 page]);
  end
  corner = [left, below + sizes(2) + between(2)];
  side = left + sizes(3) + between(1);
  boxes = [left, below, sizes(3), sizes(2); corner, sizes(3), sizes(1); ...
           side, corner(2), sizes(2), sizes(1)];

  rights = [3 3 2];
  ups = [2 1 1];
  panels = [];
  for normal = 1:3
    ax = axes('parent', canvas.figure, 'units', 'normalized', ...
              'position', boxes(normal, :) ./ [page, page]);
    panels = [panels, ax];
    limits = draw_image(ax, values, rights(normal), ups(normal), ...
                        cut_through(shown, normal, index(normal)), range, options.scale);
    hold(ax, 'on');
    at = @(d) 1e3 * values{d}(index(d)) * [1 1];
    plot(ax, limits(1:2), at(ups(normal)), ':', at(rights(normal)), limits(3:4), ':', ...
         'color', [0.55 0.75 0.95]);
    hold(ax, 'off');
    title(ax, plane_name(values, normal, index(normal)), 'fontweight', 'normal');
  end
  bar = colorbar(ax);
  kestrel.detail.write_text(ylabel(bar, ' '), label);
  set(ax, 'position', boxes(3, :) ./ [page, page]);
  set(bar, 'position', [side + 0.1, below, 0.2, max(sizes(2), 1)] ./ [page, page]);
  if ~isempty(options.title)
    cover = axes('parent', canvas.figure, 'units', 'normalized', 'position', [0 0 1 1], ...
                 'visible', 'off');
    heading = text(0.5, 1 - 0.22 / page(2), ' ', 'parent', cover, 'fontweight', 'bold', ...
                   'horizontalalignment', 'center', 'verticalalignment', 'middle', ...
                   'fontsize', 13);
    kestrel.detail.write_text(heading, options.title);
  end
end

function plane = cut_through(shown, normal, index)
  cut = {':', ':', ':'};
  cut{normal} = index;
  counts = size(shown);
  counts(end + 1:3) = 1;
  plane = reshape(shown(cut{:}), counts(setdiff(1:3, normal)));
end

% An image of a plane whose axes RIGHT and UP point there, and the limits of its axes.
function limits = draw_image(ax, values, right, up, plane, range, scale)
  if right < up
    plane = plane.';
  end
  x = 1e3 * values{right};
  y = 1e3 * values{up};
  imagesc(ax, x([1 end]), y([1 end]), plane);
  set(ax, 'ydir', 'normal', 'clim', range, 'layer', 'top', 'box', 'on', 'tickdir', 'out');
  axis(ax, 'equal');
  limits = [edges(x), edges(y)];
  axis(ax, limits);
  colormap(ax, kestrel.detail.field_colours(scale));
  xlabel(ax, [axis_name(right), ' (mm)']);
  ylabel(ax, [axis_name(up), ' (mm)']);
end

% The triangles of the surface on which the magnitude has a level.
function scene = surface(caller, p, values, options)
  if any(cellfun(@numel, values) < 2)
    error('kestrel:option', '%s: a surface needs a volume, a grid with three axes.', caller);
  end
  level = kestrel.detail.check_scalar(caller, 'isosurface', options.isosurface);
  magnitude = abs(p);
  magnitude(~isfinite(magnitude)) = 0;
  peak = max(magnitude(:));
  wanted = cell(1, 3);
  switch options.scale
    case 'dB'
      level = peak * 10^(level / 20);
    case 'phase'
      error('kestrel:option', '%s: a surface shows magnitudes: scale must be dB or linear.', ...
            caller);
  end
  if ~(level > 0 && level < peak)
    error('kestrel:option', '%s: the isosurface must have a level between 0 and the peak.', ...
          caller);
  end
  % Only the part that the surface is in, and no finer than a picture shows.
  inside = magnitude >= level;
  for d = 1:3
    others = setdiff(1:3, d);
    seen = find(any(any(inside, others(1)), others(2)));
    part = max(seen(1) - 1, 1):min(seen(end) + 1, numel(values{d}));
    wanted{d} = values{d}(part);
    if numel(part) > 28
      wanted{d} = linspace(wanted{d}(1), wanted{d}(end), 28);
    end
  end
  [x, y, z] = ndgrid(wanted{:});
  magnitude = interpn(values{:}, magnitude, x, y, z);
  found = isosurface(1e3 * wanted{1}, 1e3 * wanted{2}, 1e3 * wanted{3}, ...
                     permute(magnitude, [2 1 3]), level);
  corners = found.vertices(reshape(found.faces.', [], 1), :).';
  scene = struct('faces', reshape(corners, 3, 3, []), 'colour', [0.95 0.55 0.20], ...
                 'edge', 'none', 'shaded', true, 'lines', zeros(3, 0));
end

function ax = draw_surface(canvas, scene, options)
  ax = canvas.axes;
  kestrel.detail.draw_scene(canvas, scene, options.view);
  heading = options.title;
  if isempty(heading) && strcmp(options.scale, 'dB')
    heading = sprintf('Surface at %g dB', options.isosurface);
  elseif isempty(heading)
    heading = sprintf('Surface at %g Pa', options.isosurface);
  end
  kestrel.detail.write_text(title(ax, ' '), heading);
end

function draw_line(canvas, x, along, shown, range, label)
  ax = canvas.axes;
  plot(ax, 1e3 * x(:), shown, 'linewidth', 2);
  set(ax, 'ylim', range, 'xlim', 1e3 * x([1 end]), 'box', 'on', 'gridcolor', [0.8 0.8 0.8], ...
      'gridalpha', 1);
  grid(ax, 'on');
  xlabel(ax, [axis_name(along), ' (mm)']);
  kestrel.detail.write_text(ylabel(ax, ' '), label);
  if ~isempty(canvas.file)
    set(canvas.figure, 'paperposition', [0 0 8 4.5]);
    set(ax, 'position', [0.11 0.14 0.85 0.76]);
  end
end

% The outer edges of the first and the last pixel.
function limits = edges(x)
  half = (x(2) - x(1)) / 2;
  limits = [x(1) - half, x(end) + half];
end

function text = plane_name(values, normal, index)
  text = sprintf('%s = %.4g mm', axis_name(normal), 1e3 * values{normal}(index));
end

function name = axis_name(index)
  names = 'xyz';
  name = names(index);
end
