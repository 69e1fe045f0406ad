function h = show_field(p, grid, varargin)
%SHOW_FIELD  Picture of a field on a plane of a regular grid, along a line, or in a volume.
%   kestrel.show_field(P, GRID) draws the magnitude of the field P, in decibels
%   below its largest value. P is nx-by-ny-by-nz and GRID the regular grid that it was
%   computed on. When one axis of the grid has a single value, that plane is drawn in
%   the current axes; when two have, the field along the line is. When none has, the
%   current figure shows three cuts at right angles through the largest value; thin
%   lines are where each cuts the others. Axes are in millimetres at equal scale.
%
%   kestrel.show_field(P, GRID, Name, Value, ...) with
%      'scale'       'dB' (default), 'linear' for the magnitude, 'signed' for the real
%                    part, as of a pulse at one moment, or 'phase' in radians
%      'range'       [low high] of the colours or of a line's values, in dB, rad or the
%                    unit of P; default [-40 0] for dB, from 0 to the largest value for
%                    linear, plus and minus that for signed, [-pi pi] for phase
%      'slice'       'x', 'y' or 'z': draws only the plane normal to this axis
%      'line'        'x', 'y' or 'z': draws the field along this axis through the
%                    largest value; several, as 'xz', one panel below the other
%      'at'          where the plane of 'slice' cuts its axis, in metres; for three cuts
%                    and lines the point [x y z] in which they meet. The nearest values
%                    of the grid are drawn. Default: through the largest value
%      'isosurface'  up to four levels: draws the surfaces in space on which the field
%                    has them; in dB below the largest value (as [-6 -12]), or in the
%                    unit of P with the scale 'linear'. All but the highest are cut open
%                    at the largest value
%      'view'        [azimuth elevation] in degrees for a surface, default [-37.5 20]
%      'label'       text at the colours, for what else P may be than a pressure in Pa;
%                    P is then drawn as it is, without a prefix for its unit
%      'colorbar'    false for no colour bar, as in one panel of several
%      'equal'       false to let a plane fill its axes, at two scales
%      'title'       text above the picture
%      'file'        name of a PNG, PDF or SVG file to draw to instead of the screen; a
%                    PNG is about 1000 pixels wide; no display is needed
%
%   H = kestrel.show_field(...) returns the axes (not with 'file'); of three cuts, those
%   normal to x, y and z.
%
%   0 dB is the largest magnitude in all of P, not only in the plane. Values that
%   are not finite are grey. Pressures of a kilopascal or more are drawn in kPa or MPa.
%   Titles and labels are shown as they are: no character is markup.
%
%   Errors: a list of points instead of a regular grid, P of another size than the
%   grid or without a finite value, a plane or point that lies outside the grid by more
%   than a step, a surface of less than a volume, an unknown option or value, a file that
%   cannot be written.
%
%   Examples:
%      kestrel.show_field(p, grid, 'range', [-30 0], 'file', 'field.png');
%      kestrel.show_field(p, grid, 'isosurface', [-6 -12]);
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
  if ~any(isfinite(p(:)))
    error('kestrel:argument', '%s: p has no finite value.', caller);
  end
  ends = cellfun(@(v) v([1 end]), values, 'UniformOutput', false);
  kestrel.detail.check_extent(caller, 'the grid', cat(1, ends{:}));
  options = checked(caller, varargin);
  [shown, range, label] = scaled(caller, p, options);

  if ~isempty(options.isosurface)
    if any(counts < 2)
      error('kestrel:option', '%s: a surface needs a volume, a grid with three axes.', caller);
    end
    scene = kestrel.detail.level_surfaces(caller, p, values, options);
    draw = @(canvas) draw_surface(canvas, scene, options);
  elseif ~isempty(options.line)
    along = line_axes(caller, values, options.line);
    index = meeting_point(caller, p, values, options.at);
    draw = @(canvas) draw_lines(canvas, values, shown, along, index, range, label, options);
  elseif all(counts > 1) && isempty(options.slice)
    index = meeting_point(caller, p, values, options.at);
    draw = @(canvas) draw_cuts(canvas, values, shown, index, range, label, options);
  else
    [normal, index] = choose_plane(caller, p, values, options);
    if isempty(options.title) && counts(normal) > 1
      options.title = plane_name(values, normal, index(normal));
    end
    along = setdiff(find(counts > 1), normal);
    if numel(along) == 1
      draw = @(canvas) draw_lines(canvas, values, shown, along, index, range, label, options);
    else
      draw = @(canvas) draw_plane(canvas, values, shown, normal, index(normal), range, label, ...
                                  options);
    end
  end
  canvas = kestrel.detail.open_canvas(options.file);
  closer = onCleanup(@() kestrel.detail.close_canvas(canvas));
  axes_drawn = draw(canvas);
  kestrel.detail.save_canvas(caller, canvas);
  if nargout > 0
    h = axes_drawn;
  end
end

function options = checked(caller, pairs)
  options = struct('scale', 'dB', 'range', [], 'slice', '', 'line', '', 'at', [], ...
                   'isosurface', [], 'view', [-37.5 20], 'label', '', 'colorbar', true, ...
                   'equal', true, 'title', '', 'file', '');
  options = kestrel.detail.parse_options(caller, options, pairs);
  options.scale = kestrel.detail.check_choice(caller, 'scale', options.scale, ...
                                              {'dB', 'linear', 'signed', 'phase'});
  options.view = kestrel.detail.check_vector(caller, 'view', options.view, 2);
  options.colorbar = kestrel.detail.check_switch(caller, 'colorbar', options.colorbar);
  options.equal = kestrel.detail.check_switch(caller, 'equal', options.equal);
  options.file = kestrel.detail.check_file(caller, options.file);
  options.title = kestrel.detail.check_text(caller, 'title', options.title);
  options.label = kestrel.detail.check_text(caller, 'label', options.label);
  if ~isempty(options.range)
    options.range = kestrel.detail.check_vector(caller, 'range', options.range, 2);
    if options.range(2) <= options.range(1)
      error('kestrel:option', '%s: range must be [low high] with low below high.', caller);
    end
  end
end

% The axis normal to the plane that is drawn, and the indices of a point of the plane.
function [normal, index] = choose_plane(caller, p, values, options)
  single = find(cellfun(@numel, values) == 1);
  if ~isempty(options.slice)
    slice = kestrel.detail.check_choice(caller, 'slice', options.slice, {'x', 'y', 'z'});
    normal = find(strcmp(slice, {'x', 'y', 'z'}));
  elseif any(single == 2)
    normal = 2;
  else
    normal = single(1);
  end
  if all(cellfun(@numel, values(setdiff(1:3, normal))) == 1)
    error('kestrel:option', '%s: the grid has a single point in a plane normal to %s.', ...
          caller, axis_name(normal));
  end
  index = meeting_point(caller, p, values, []);
  if ~isempty(options.at)
    at = kestrel.detail.check_scalar(caller, 'at', options.at);
    index(normal) = nearest(caller, values, normal, at);
  end
end

% Indices of the largest value, or of the point of the grid nearest to AT.
function index = meeting_point(caller, p, values, at)
  index = zeros(1, 3);
  if isempty(at)
    magnitude = abs(p(:));
    magnitude(~isfinite(magnitude)) = -1;
    [~, peak] = max(magnitude);
    [index(1), index(2), index(3)] = ind2sub(cellfun(@numel, values), peak);
    return
  end
  at = kestrel.detail.check_vector(caller, 'at', at, 3);
  for d = 1:3
    index(d) = nearest(caller, values, d, at(d));
  end
end

% Index of the value on axis D that is nearest to AT. On an axis of one value, a step is the
% largest step of the others.
function index = nearest(caller, values, d, at)
  [distance, index] = min(abs(values{d} - at));
  step = max(cellfun(@step_of, values));
  if numel(values{d}) > 1
    step = step_of(values{d});
  end
  if distance > step * (1 + 1e-9)
    error('kestrel:option', '%s: at is %s = %g mm, but the grid has %s from %g to %g mm.', ...
          caller, axis_name(d), 1e3 * at, axis_name(d), 1e3 * values{d}(1), 1e3 * values{d}(end));
  end
end

function step = step_of(x)
  step = 0;
  if numel(x) > 1
    step = abs(x(2) - x(1));
  end
end

% The axes that the option 'line' names.
function along = line_axes(caller, values, names)
  if ~ischar(names) || ~all(ismember(lower(names(:)), 'xyz')) ...
     || numel(unique(lower(names))) ~= numel(names)
    error('kestrel:option', ...
          '%s: line must be ''x'', ''y'', ''z'' or several of them, as ''xz''.', caller);
  end
  along = lower(names(:)).' - 'x' + 1;
  for d = along
    if numel(values{d}) == 1
      error('kestrel:option', '%s: the grid has a single value of %s.', caller, axis_name(d));
    end
  end
end

% What is shown, in which range, and what to call it.
function [shown, range, label] = scaled(caller, p, options)
  magnitude = abs(p);
  finite = magnitude(isfinite(magnitude));
  peak = max(finite(:));
  if peak < 1e-100   % zero, and what no axis can be made for
    peak = 1;
  elseif peak > 1e100
    error('kestrel:argument', '%s: p has values up to %.3g, too large to be drawn.', caller, peak);
  end
  switch options.scale
    case 'dB'
      shown = 20 * log10(max(magnitude / peak, 1e-300));
      range = [-40 0];
      label = 'pressure, dB re peak';
    case 'linear'
      shown = magnitude;
      range = [0 peak];
      label = 'pressure amplitude';
    case 'signed'
      shown = real(p);
      range = [-peak peak];
      label = 'pressure';
    case 'phase'
      shown = angle(p);
      range = [-pi pi];
      label = 'phase (rad)';
  end
  if ~isempty(options.range)
    range = options.range;
  end
  if any(strcmp(options.scale, {'linear', 'signed'})) && isempty(options.label)
    [unit, factor] = prefixed(max(abs(range)));
    shown = factor * shown;
    range = factor * range;
    label = sprintf('%s (%s)', label, unit);
  elseif ~isempty(options.label)
    label = options.label;
  end
  shown = min(max(shown, range(1)), range(2));
  shown(~isfinite(p)) = NaN;
end

% The unit in which a pressure is read best, and the factor from pascals to it.
function [unit, factor] = prefixed(pressure)
  units = {'Pa', 'kPa', 'MPa'};
  index = 1 + (pressure >= 1e3) + (pressure >= 1e6);
  unit = units{index};
  factor = 1e3^(1 - index);
end

% The field on one plane.
function ax = draw_plane(canvas, values, shown, normal, index, range, label, options)
  ax = canvas.axes;
  in_plane = setdiff(1:3, normal);
  % Direction of propagation, z, to the right where it is in the plane; else x.
  right = in_plane(2);
  up = in_plane(1);
  if normal == 3
    [right, up] = deal(1, 2);
  end
  limits = draw_image(ax, values, right, up, cut_through(shown, normal, index), range, options);
  kestrel.detail.write_text(title(ax, ' '), options.title);
  bar = [];
  if options.colorbar
    bar = colorbar(ax);
    kestrel.detail.write_text(kestrel.detail.bar_label(bar), label);
  end
  if ~isempty(canvas.file)
    aspect = diff(limits(1:2)) / diff(limits(3:4));
    if ~options.equal
      aspect = 1.4;
    end
    kestrel.detail.fit_page(canvas, aspect, bar);
  end
end

% Three cuts as in a technical drawing: x-z and y-z with z to the right, one above the other,
% and x-y beside the first; all at one scale. The colour bar stands below x-y when there is room
% for it, else to the right of all.
function panels = draw_cuts(canvas, values, shown, index, range, label, options)
  figure_size = get(canvas.figure, 'position');
  page = 8 * [1, figure_size(4) / figure_size(3)];   % inches
  if isempty(canvas.file)
    clf(canvas.figure);
  else
    page = [8, 8];
    delete(canvas.axes);
  end
  extent = cellfun(@(v) 1e3 * numel(v) * step_of(v), values);
  left = 0.8;
  below = 0.65;
  between = [0.9, 1.05];
  above = 0.45;
  if ~isempty(options.title)
    above = 0.85;
  end
  bar_width = 1.35 * options.colorbar;
  shortest_bar = 1.8;

  room = page - [left + between(1) + 0.15, below + between(2) + above];
  both = [extent(3) + extent(2), extent(1) + extent(2)];
  scale = min(room ./ both);
  aside = options.colorbar && scale * extent(2) < shortest_bar;
  if aside
    scale = min((room - [bar_width, 0]) ./ both);
    between(2) = max(between(2), shortest_bar - scale * both(2));
  end
  sizes = scale * extent;
  side = left + sizes(3) + between(1);
  top = below + sizes(2) + between(2);
  bar_at = max(sizes(2) + 0.2, sizes(2) / 2 + 0.6);   % beside x-y and its texts
  if ~isempty(canvas.file)
    needed = max(sizes(2) + 0.3, bar_width);
    if aside
      needed = bar_at + bar_width;
    end
    page = [max(side + needed, 3.5), top + sizes(1) + above];
    set(canvas.figure, 'paperposition', [0 0 page]);
  end
  boxes = [left, below, sizes(3), sizes(2); left, top, sizes(3), sizes(1); ...
           side, top, sizes(2), sizes(1)];

  rights = [3 3 2];
  ups = [2 1 1];
  panels = [];
  for normal = 1:3
    ax = axes('parent', canvas.figure, 'units', 'normalized', ...
              'position', boxes(normal, :) ./ [page, page]);
    panels = [panels, ax];
    options.equal = true;
    limits = draw_image(ax, values, rights(normal), ups(normal), ...
                        cut_through(shown, normal, index(normal)), range, options);
    hold(ax, 'on');
    at = @(d) 1e3 * values{d}(index(d)) * [1 1];
    % White with a black border is seen on every colour.
    for stroke = {'k', 4; 'w', 1}.'
      style = {'color', stroke{1}, 'linewidth', stroke{2}};
      plot(ax, limits(1:2), at(ups(normal)), style{:});
      plot(ax, at(rights(normal)), limits(3:4), style{:});
    end
    hold(ax, 'off');
    kestrel.detail.set_ticks(ax, boxes(normal, 3:4));
    heading = title(ax, ' ', 'fontweight', 'normal');
    kestrel.detail.write_text(heading, plane_name(values, normal, index(normal)));
  end
  if options.colorbar
    bar = colorbar(ax);
    kestrel.detail.write_text(kestrel.detail.bar_label(bar), label);
    set(ax, 'position', boxes(3, :) ./ [page, page]);
    place = [side + 0.1, below, 0.2, sizes(2)];
    if aside
      place = [side + bar_at, below, 0.2, top + sizes(1) - below];
    end
    set(bar, 'position', place ./ [page, page]);
    kestrel.detail.fit_font(kestrel.detail.bar_label(bar), place(4) + 0.6);
  end
  if ~isempty(options.title)
    cover = axes('parent', canvas.figure, 'units', 'normalized', 'position', [0 0 1 1], ...
                 'visible', 'off');
    heading = text(0.5, 1 - 0.22 / page(2), ' ', 'parent', cover, 'fontweight', 'bold', ...
                   'horizontalalignment', 'center', 'verticalalignment', 'middle', ...
                   'fontsize', 13);
    kestrel.detail.write_text(heading, options.title);
    kestrel.detail.fit_font(heading, page(1) - 0.2);
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
function limits = draw_image(ax, values, right, up, plane, range, options)
  if right < up
    plane = plane.';
  end
  x = 1e3 * values{right};
  y = 1e3 * values{up};
  map = kestrel.detail.field_colours(options.scale);
  missing = isnan(plane);
  if any(missing(:))
    % A NaN would have the highest colour in Octave's gnuplot and the lowest elsewhere.
    index = min(max(ceil((plane - range(1)) / diff(range) * size(map, 1)), 1), size(map, 1));
    index(missing) = size(map, 1) + 1;
    kestrel.detail.draw_pixels(ax, x, y, index, [map; 0.75 0.75 0.75], range);
  else
    imagesc(ax, x([1 end]), y([1 end]), plane);
    set(ax, 'ydir', 'normal', 'clim', range);
  end
  set(ax, 'layer', 'top', 'box', 'on', 'tickdir', 'out');
  if options.equal
    axis(ax, 'equal');
  end
  limits = [edges(x), edges(y)];
  axis(ax, limits);
  colormap(ax, map);
  xlabel(ax, [axis_name(right), ' (mm)']);
  ylabel(ax, [axis_name(up), ' (mm)']);
end

function ax = draw_surface(canvas, scene, options)
  ax = canvas.axes;
  kestrel.detail.draw_scene(canvas, scene, options.view);
  heading = options.title;
  if isempty(heading)
    unit = 'dB';
    levels = options.isosurface;
    if strcmp(options.scale, 'linear') && isempty(options.label)
      [unit, factor] = prefixed(max(levels));
      levels = factor * levels;
    elseif strcmp(options.scale, 'linear')
      unit = options.label;
    end
    many = 's';
    numbers = sprintf('%g, ', sort(levels, 'descend'));
    heading = sprintf('Surface%s at %s %s', many(numel(levels) > 1), numbers(1:end - 2), unit);
  end
  kestrel.detail.write_text(title(ax, ' '), heading);
  if ~isempty(canvas.file)
    page = get(canvas.figure, 'paperposition');
    kestrel.detail.fit_font(get(ax, 'title'), page(3) - 0.2);
  end
end

% The field along lines through a point: one in the current axes, several one below the other.
function panels = draw_lines(canvas, values, shown, along, index, range, label, options)
  panels = canvas.axes;
  page = [8, 4.5];
  if numel(along) > 1
    page = [8, 0.4 + 3.2 * numel(along)];
    if isempty(canvas.file)
      clf(canvas.figure);
    else
      delete(canvas.axes);
    end
    panels = zeros(1, 0);
  end
  height = (page(2) - 0.45) / numel(along);
  for i = 1:numel(along)
    d = along(i);
    if numel(along) > 1
      panels = [panels, axes('parent', canvas.figure)];
    end
    ax = panels(i);
    cut = num2cell(index);
    cut{d} = ':';
    width = 2;
    if ~isempty(canvas.file)
      width = 3;   % gnuplot's lines are thin in files
    end
    x = 1e3 * values{d};
    plot(ax, x(:), reshape(shown(cut{:}), [], 1), 'linewidth', width);
    top = range(2);
    if isempty(options.range) && any(strcmp(options.scale, {'linear', 'signed'}))
      top = top + 0.05 * diff(range);
    end
    set(ax, 'ylim', [range(1), top], 'xlim', x([1 end]), 'box', 'on', ...
        'gridcolor', [0.8 0.8 0.8], 'gridalpha', 1);
    grid(ax, 'on');
    xlabel(ax, [axis_name(d), ' (mm)']);
    kestrel.detail.write_text(ylabel(ax, ' '), label);
    if ~isempty(canvas.file) || numel(along) > 1
      place = [0.9, page(2) - 0.45 - i * height + 0.65, page(1) - 1.15, height - 0.65];
      set(ax, 'position', place ./ [page, page]);
      kestrel.detail.fit_font(get(ax, 'ylabel'), height);
    end
    if i == 1
      kestrel.detail.write_text(title(ax, ' '), options.title);
    end
  end
  if ~isempty(canvas.file)
    set(canvas.figure, 'paperposition', [0 0 page]);
    kestrel.detail.fit_font(get(panels(1), 'title'), page(1) - 0.2);
  end
end

% The outer edges of the first and the last pixel.
function limits = edges(x)
  half = (x(2) - x(1)) / 2;
  limits = [x(1) - half, x(end) + half];
end

% As "y = 2.4 mm", rounded to a hundredth of the grid's step: what rounding left over is no place.
function words = plane_name(values, normal, index)
  grain = 1e-2 * step_of(values{normal});
  place = round(values{normal}(index) / grain) * grain;
  words = sprintf('%s = %.5g mm', axis_name(normal), 1e3 * place + 0);
end

function name = axis_name(index)
  names = 'xyz';
  name = names(index);
end
