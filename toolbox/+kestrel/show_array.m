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
  kestrel.detail.check_count(caller, nargin, 1, '(array, name, value, ...)');
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
  end
  options.title = kestrel.detail.check_text(caller, 'title', options.title);

  [faces, pointers] = polygons_of(array);

  canvas = kestrel.detail.open_canvas(options.file);
  closer = onCleanup(@() kestrel.detail.close_canvas(canvas));
  ax = canvas.axes;
  scene = struct('faces', faces, 'colour', [0.70 0.83 0.95], 'edge', [0.13 0.35 0.60], ...
                 'shaded', false, 'lines', with_gaps(pointers));
  kestrel.detail.draw_scene(canvas, scene, options.view);
  kestrel.detail.write_text(title(ax, ' '), options.title);
  kestrel.detail.save_canvas(caller, canvas);
  if nargout > 0
    h = ax;
  end
end

% All faces, with equal numbers of corners (3 by corners by faces), and all pointers
% (3 by 2 by elements), in millimetres in space.
function [faces, pointers] = polygons_of(array)
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

% One line through all pointers that lifts the pen (NaN) between them: drawing one object
% takes the same time for any number of elements.
function points = with_gaps(pointers)
  pointers(:, 3, :) = NaN;
  points = reshape(pointers, 3, []);
end
