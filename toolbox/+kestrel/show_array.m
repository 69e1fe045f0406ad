function h = show_array(array, varargin)
%SHOW_ARRAY  Picture of the elements of an array in space.
%   kestrel.show_array(ARRAY) draws all elements of ARRAY, each in its place and
%   orientation, in the current axes. From the centre of each element a short line
%   points to where it radiates. Axes are in millimetres at equal scale. Fronts are blue
%   and backs grey.
%
%   kestrel.show_array(ARRAY, Name, Value, ...) with
%      'view'   [azimuth elevation] in degrees, default [-37.5 30]
%      'colour' 'none' (default), or what the fronts' colours show: 'phase' (rad),
%               'amplitude' (m/s) or 'delay' (us)
%      'title'  text above the picture, as it is; default the number of elements
%      'file'   name of a PNG, PDF or SVG file to draw to instead of the screen; a PNG
%               is about 1000 pixels wide; no display is needed
%
%   H = kestrel.show_array(...) returns the axes (not with 'file').
%
%   Errors: an ARRAY that is no array of elements (the element and its field are
%   named) or is empty, an unknown option or value, a file that cannot be written.
%
%   Example:
%      array = [kestrel.shell(10e-3, 40e-3), ...
%               kestrel.ring(12e-3, 14e-3, 'euler', [pi/6 0 0])];
%      kestrel.show_array(array, 'file', 'array.png');
%      kestrel.show_array(kestrel.linear_array(64, 0.3e-3, 5e-3), 'colour', 'phase');
%
%   See also kestrel.show_field, kestrel.linear_array, kestrel.rectangle.
  caller = 'kestrel.show_array';
  kestrel.detail.check_count(caller, nargin, 1, '(array, name, value, ...)');
  kestrel.detail.check_array(caller, array);
  if isempty(array)
    error('kestrel:argument', '%s: the array has no elements.', caller);
  end
  defaults = struct('view', [-37.5 30], 'colour', 'none', 'title', [], 'file', '');
  options = kestrel.detail.parse_options(caller, defaults, varargin);
  options.view = kestrel.detail.check_vector(caller, 'view', options.view, 2);
  options.colour = kestrel.detail.check_choice(caller, 'colour', options.colour, ...
                                               {'none', 'phase', 'amplitude', 'delay'});
  options.file = kestrel.detail.check_file(caller, options.file);
  if isnumeric(options.title) && isempty(options.title)
    options.title = sprintf('%d elements', numel(array));
    if numel(array) == 1
      options.title = '1 element';
    end
  end
  options.title = kestrel.detail.check_text(caller, 'title', options.title);

  scene = polygons_of(array);
  kestrel.detail.check_extent(caller, 'the array', 1e-3 * reshape(scene.faces, 3, []));
  [scene.colour, shades, range, label] = colours_of(array, options.colour);
  scene.kind = shades(scene.element);
  scene.darkest = 0.6;
  scene.range = [0 1];
  if ~isempty(range)
    scene.darkest = 1 - 0.2 * scene.solid;   % a colour that is read off stays, or nearly
    scene.range = range;
  end

  canvas = kestrel.detail.open_canvas(options.file);
  closer = onCleanup(@() kestrel.detail.close_canvas(canvas));
  ax = canvas.axes;
  kestrel.detail.draw_scene(canvas, scene, options.view);
  if ~isempty(range)
    draw_bar(canvas, scene.colour, range, label);
  end
  kestrel.detail.write_text(title(ax, ' '), options.title);
  kestrel.detail.save_canvas(caller, canvas);
  if nargout > 0
    h = ax;
  end
end

% All faces with equal numbers of corners (3 by corners by faces), each one's element, and the
% pointers as one line that lifts the pen (NaN) between them: drawing one object takes the same time
% for any number of elements. In millimetres in space.
function scene = polygons_of(array)
  meshed = any(ismember({array.shape}, {'shel', 'sph ring'}));
  polygons = cell(1, numel(array));
  element = cell(1, numel(array));
  [~, ~, extents] = kestrel.detail.run_compiled('kestrel.show_array', 'arrays', 'faces', ...
                                                struct(), array);
  for i = 1:numel(array)
    local = kestrel.detail.element_faces(array(i), meshed);
    place = @(p) 1e3 * kestrel.detail.to_global(p, array(i).center, array(i).euler);
    polygons{i} = cellfun(place, local, 'UniformOutput', false);
    element{i} = i * ones(1, numel(local));
  end
  polygons = [polygons{:}];
  corners = max(cellfun(@(p) size(p, 2), polygons));
  faces = zeros(3, corners, numel(polygons));
  for i = 1:numel(polygons)
    last = size(polygons{i}, 2);
    faces(:, :, i) = polygons{i}(:, [1:last, last * ones(1, corners - last)]);
  end

  % Pointers of small elements are as long as can be seen beside the array.
  all_points = reshape(faces, 3, []);
  visible = 0.04e-3 * max(max(all_points, [], 2) - min(all_points, [], 2));
  pointers = NaN(3, 3, numel(array));
  for i = 1:numel(array)
    height = max(0.6 * extents(i), min(visible, 4 * extents(i)));
    pointers(:, 1:2, i) = 1e3 * kestrel.detail.to_global([0 0; 0 0; 0 height], ...
                                                         array(i).center, array(i).euler);
  end
  scene = struct('faces', faces, 'element', [element{:}], 'solid', meshed, ...
                 'edge', [0.13 0.35 0.60], 'lines', reshape(pointers, 3, []), 'legend', {{}});
end

% The colours that there are, each element's row of them, and for the bar their range and what they
% show; an empty range when they show nothing.
function [map, shades, range, label] = colours_of(array, quantity)
  map = [0.68 0.83 0.98];
  shades = ones(1, numel(array));
  range = [];
  label = '';
  switch quantity
    case 'none'
      return
    case 'phase'
      values = kestrel.detail.wrap_phase(kestrel.detail.field_columns(array, 'phase', 0));
      range = [-pi pi];
      label = 'phase (rad)';
    case 'amplitude'
      values = kestrel.detail.field_columns(array, 'amplitude', 1);
      range = [min([0, values]), max([0, values])];
      label = 'amplitude (m/s)';
    case 'delay'
      values = 1e6 * kestrel.detail.field_columns(array, 'time_delay', 0);
      range = [min(values), max(values)];
      label = 'delay (us)';
  end
  if range(1) == range(2)
    range = range(1) + [-0.5 0.5] * max(abs(range(1)), 1);
  end
  map = kestrel.detail.field_colours(quantity);
  shades = round((values - range(1)) / diff(range) * (size(map, 1) - 1)) + 1;
end

% A colour bar for faces that are drawn in true colours.
function draw_bar(canvas, map, range, label)
  ax = canvas.axes;
  colormap(ax, map);
  set(ax, 'clim', range);
  page = get(canvas.figure, 'paperposition');
  picture = get(ax, 'position') .* [page(3:4), page(3:4)];
  bar = colorbar(ax);
  kestrel.detail.write_text(kestrel.detail.bar_label(bar), label);
  if ~isempty(canvas.file)
    height = max(picture(4), 1.8);
    wider = page(3:4) + [1.2, height - picture(4)];
    set(canvas.figure, 'paperposition', [0 0 wider]);
    set(ax, 'position', picture ./ [wider, wider]);
    set(bar, 'position', [page(3) + 0.05, picture(2) + 0.1, 0.2, height - 0.2] ./ [wider, wider]);
  end
end
