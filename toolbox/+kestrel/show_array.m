function h = show_array(array, varargin)
%SHOW_ARRAY  Picture of the elements of an array in space.
%   kestrel.show_array(ARRAY) draws all elements of ARRAY, each in its place and
%   orientation, in the current axes. From the centre of each element a short line
%   points to where it radiates. Axes are in millimetres at equal scale.
%
%   kestrel.show_array(ARRAY, Name, Value, ...) with
%      'view'   [azimuth elevation] in degrees, default [-37.5 30]
%      'title'  text above the picture, default the number of elements
%      'file'   name of a PNG file, about 1000 pixels wide, to draw to instead of
%               the screen; no display is needed
%
%   H = kestrel.show_array(...) returns the axes (not with 'file').
%
%   Errors: an ARRAY that is no array of elements (the element and its field are
%   named) or is empty, an unknown option or value.
%
%   Example:
%      array = [kestrel.shell(10e-3, 40e-3), ...
%               kestrel.ring(12e-3, 14e-3, 'euler', [pi/6 0 0])];
%      kestrel.show_array(array, 'file', 'array.png');
%
%   See also kestrel.show_field, kestrel.linear_array, kestrel.rectangle.
  caller = 'kestrel.show_array';
  kestrel.detail.check_array(caller, array);
  if isempty(array)
    error('kestrel:argument', '%s: the array has no elements.', caller);
  end
  defaults = struct('view', [-37.5 30], 'title', [], 'file', '');
  options = kestrel.detail.parse_options(caller, defaults, varargin);
  options.view = kestrel.detail.check_vector(caller, 'view', options.view, 2);
  options.file = kestrel.detail.check_file(caller, options.file);
  if isnumeric(options.title) && isempty(options.title)
    options.title = sprintf('%d elements', numel(array));
    if numel(array) == 1
      options.title = '1 element';
    end
  elseif ~ischar(options.title)
    error('kestrel:option', '%s: title must be text.', caller);
  end

  [faces, pointers] = scene(array);

  canvas = kestrel.detail.open_canvas(options.file);
  closer = onCleanup(@() kestrel.detail.close_canvas(canvas));
  ax = canvas.axes;
  % Octave's gnuplot can neither fill faces in space nor use the page at equal scale.
  if isprop(canvas.figure, '__graphics_toolkit__') ...
     && strcmp(get(canvas.figure, '__graphics_toolkit__'), 'gnuplot')
    draw_projected(canvas, faces, pointers, options.view);
  else
    draw_in_space(ax, faces, pointers, options.view);
  end
  title(ax, options.title);
  kestrel.detail.save_canvas(canvas);
  if nargout > 0
    h = ax;
  end
end

% All faces, with equal numbers of corners (3 by corners by faces), and all pointers
% (3 by 2 by elements), in millimetres in space.
function [faces, pointers] = scene(array)
  polygons = cell(1, numel(array));
  pointers = zeros(3, 2, numel(array));
  for i = 1:numel(array)
    [local, extent] = kestrel.detail.element_faces(array(i));
    place = @(p) 1e3 * kestrel.detail.to_global(p, array(i).center, array(i).euler);
    polygons{i} = cellfun(place, local, 'UniformOutput', false);
    pointers(:, :, i) = place([0 0; 0 0; 0 0.6 * extent]);
  end
  polygons = [polygons{:}];
  corners = max(cellfun(@(p) size(p, 2), polygons));
  faces = zeros(3, corners, numel(polygons));
  for i = 1:numel(polygons)
    last = size(polygons{i}, 2);
    faces(:, :, i) = polygons{i}(:, [1:last, last * ones(1, corners - last)]);
  end
end

function draw_in_space(ax, faces, pointers, direction)
  count = size(faces, 3);
  coordinates = @(d) reshape(faces(d, :, :), [], count);
  patch(coordinates(1), coordinates(2), coordinates(3), 'b', 'parent', ax, ...
        'facecolor', [0.70 0.83 0.95], 'edgecolor', [0.13 0.35 0.60]);
  ends = with_gaps(pointers);
  line(ends(1, :), ends(2, :), ends(3, :), 'parent', ax, 'color', [0.85 0.40 0.10]);
  axis(ax, 'equal');
  grid(ax, 'on');
  view(ax, direction(1), direction(2));
  xlabel(ax, 'x (mm)');
  ylabel(ax, 'y (mm)');
  zlabel(ax, 'z (mm)');
end

% The same in parallel projection on plain axes, the faces from far to near.
function draw_projected(canvas, faces, pointers, direction)
  ax = canvas.axes;
  azimuth = direction(1) * pi / 180;
  elevation = direction(2) * pi / 180;
  toward = [cos(elevation) * sin(azimuth), -cos(elevation) * cos(azimuth), sin(elevation)];
  right = [cos(azimuth), sin(azimuth), 0];
  up = cross(toward, right);

  count = size(faces, 3);
  all_points = [reshape(faces, 3, []), reshape(pointers, 3, [])];
  bounds = [min(all_points, [], 2), max(all_points, [], 2)];
  extent = diff(bounds, 1, 2);
  extent = max(extent, 0.1 * max(extent)) * 1.08;
  bounds = mean(bounds, 2) + [-0.5 * extent, 0.5 * extent];

  hold(ax, 'on');
  limits = kestrel.detail.draw_space_axes(ax, bounds, right, up, toward);

  along = @(d) reshape(d * reshape(faces, 3, []), [], count);
  [~, order] = sort(mean(along(toward), 1));
  x = along(right);
  y = along(up);
  x = x(:, order);
  y = y(:, order);
  % Seen from the front the corners run counter-clockwise; backs are grey.
  front = sum(x .* y([2:end, 1], :) - x([2:end, 1], :) .* y, 1) > 0;
  colours = repmat(reshape([0.82 0.82 0.82], 1, 1, 3), 1, count);
  colours(1, front, :) = repmat(reshape([0.70 0.83 0.95], 1, 1, 3), 1, sum(front));
  patch(x, y, colours, 'parent', ax, 'edgecolor', [0.13 0.35 0.60], 'linewidth', 0.5);
  ends = [right; up] * with_gaps(pointers);
  plot(ax, ends(1, :), ends(2, :), 'color', [0.85 0.40 0.10], 'linewidth', 1);
  hold(ax, 'off');

  axis(ax, 'equal');
  axis(ax, limits);
  set(ax, 'visible', 'off');
  set(get(ax, 'title'), 'visible', 'on');
  if ~isempty(canvas.file)
    kestrel.detail.fit_page(canvas, diff(limits(1:2)) / diff(limits(3:4)));
  end
end

% One line through all pointers that lifts the pen (NaN) between them: drawing one object
% takes the same time for any number of elements.
function points = with_gaps(pointers)
  pointers(:, 3, :) = NaN;
  points = reshape(pointers, 3, []);
end
