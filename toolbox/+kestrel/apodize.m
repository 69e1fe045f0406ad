function array = apodize(array, window, varargin)
%APODIZE  Weights the amplitudes of an array over its aperture.
%   ARRAY = kestrel.apodize(ARRAY, WINDOW) multiplies the amplitude of every element by
%   the value that WINDOW has at the element's centre. With t from -1 to 1 over the
%   aperture, WINDOW is one of
%      'rect'      1
%      'cosine'    cos(pi t / 2)
%      'hann'      0.5 + 0.5 cos(pi t)
%      'hamming'   0.54 + 0.46 cos(pi t)
%      'blackman'  0.42 + 0.5 cos(pi t) + 0.08 cos(2 pi t)
%      'tukey'     1 in the middle half, falling as 'hann' to 0 at the ends
%      'gauss'     exp(-t^2 / (2 0.4^2))
%   or a vector with one weight for each element. The aperture reaches from outer edge
%   to outer edge, so that no element is silent.
%
%   By default WINDOW counts along x and along y, and the weights are multiplied; along
%   an axis on which all centres have the same place it is 1. {WX, WY} gives a window
%   for each: a name, or a vector with one weight for each place that the centres have
%   on that axis, from the smallest. The axes are those of the elements when all of them
%   have the same angles, and otherwise the global ones.
%
%   ARRAY = kestrel.apodize(..., Name, Value, ...) with
%      'along'  'xy' (default), or 'radius': t is the distance from the z axis through
%               the middle of the array, divided by the aperture's radius, and that of a
%               ring is the mean of its radii
%      'euler'  [e1 e2 e3]: the frame of the axes, as in kestrel.steer
%
%   Errors: an ARRAY that is no array of elements (the element and its field are
%   named), an unknown WINDOW, a vector with the wrong number of entries, an unknown
%   option or value.
%
%   Example: low side lobes across, full aperture in height
%      array = kestrel.planar_array([32 8], 0.5e-3, 2e-3, [0.6e-3 2.2e-3]);
%      array = kestrel.apodize(array, {'hamming', 'rect'});
%
%   See also kestrel.focus, kestrel.steer, kestrel.planar_array, kestrel.cw_field.
  caller = 'kestrel.apodize';
  kestrel.detail.check_count(caller, nargin, 2, '(array, window, name, value, ...)');
  kestrel.detail.check_array(caller, array);
  options = kestrel.detail.parse_options(caller, struct('along', 'xy', 'euler', []), varargin);
  options.along = kestrel.detail.check_choice(caller, 'along', options.along, {'xy', 'radius'});
  if isempty(array)
    return
  end
  if isnumeric(window)
    weight = kestrel.detail.check_vector(caller, 'window', window, numel(array));
  else
    [places, half] = aperture(array, kestrel.detail.array_frame(caller, array, options.euler));
    if strcmp(options.along, 'radius')
      weight = over_radius(caller, window, array, places);
    else
      weight = over_axes(caller, window, places, half);
    end
  end

  amplitude = kestrel.detail.field_columns(array, 'amplitude', 1);
  array = kestrel.detail.set_field(array, 'amplitude', amplitude .* weight);
end

% Centres (3 by n) in the frame, from the middle of the aperture, and half the aperture's
% extents along x and y.
function [places, half] = aperture(array, frame)
  places = frame * kestrel.detail.field_columns(array, 'center');
  [alike, first] = equal_elements(array);
  low = Inf(3, 1);
  high = -Inf(3, 1);
  for i = 1:numel(first)
    faces = kestrel.detail.element_faces(in_doubles(array(first(i))));
    corners = frame * kestrel.detail.to_global([faces{:}], [0 0 0], array(first(i)).euler);
    group = places(:, alike == i);
    low = min([low, min(corners, [], 2) + min(group, [], 2)], [], 2);
    high = max([high, max(corners, [], 2) + max(group, [], 2)], [], 2);
  end
  places = places - (low + high) / 2;
  half = (high - low) / 2;
end

% An element with its sizes as doubles, whatever numbers they came as.
function element = in_doubles(element)
  for name = kestrel.detail.shape_fields(element.shape)
    element.(name{1}) = double(full(element.(name{1})));
  end
end

% The group of each element, those of one shape, size and orientation, and the first of each.
function [group, first] = equal_elements(array)
  [~, ~, shape] = unique({array.shape});
  key = [reshape(shape, [], 1), kestrel.detail.field_columns(array, 'euler').'];
  sizes = {'width', 'height', 'radius', 'rad_curvature', 'inner_radius', 'outer_radius', ...
           'geometric_focus'};
  for i = 1:numel(sizes)
    key = [key, kestrel.detail.field_columns(array, sizes{i}, 0).'];
  end
  [~, first, group] = unique(key, 'rows');
  group = reshape(group, 1, []);
end

function weight = over_axes(caller, windows, places, half)
  if ~iscell(windows)
    windows = {windows, windows};
  elseif numel(windows) ~= 2
    error('kestrel:argument', '%s: a cell array of windows must have two, for x and for y.', ...
          caller);
  end
  weight = 1;
  for d = 1:2
    % Places that differ by rounding only are one.
    place = round(places(d, :) / (1e-9 * half(d)));
    [distinct, ~, index] = unique(place);
    if isnumeric(windows{d})
      value = kestrel.detail.check_vector(caller, sprintf('window %d', d), windows{d}, ...
                                          numel(distinct));
      weight = weight .* reshape(value(index), 1, []);
    elseif numel(distinct) > 1
      weight = weight .* shape(caller, windows{d}, places(d, :) / half(d));
    else
      shape(caller, windows{d}, 0);   % the name must be right all the same
    end
  end
end

function weight = over_radius(caller, window, array, places)
  n = numel(array);
  place = zeros(1, n);
  edge = 0;
  for i = 1:n
    [~, reach] = kestrel.detail.element_faces(in_doubles(array(i)));
    place(i) = hypot(places(1, i), places(2, i));
    edge = max(edge, place(i) + reach);
    if any(strcmp(array(i).shape, {'ring', 'sph ring'})) && place(i) < 1e-9 * reach
      place(i) = double(array(i).inner_radius + array(i).outer_radius) / 2;
    end
  end
  weight = shape(caller, window, place / edge);
end

function value = shape(caller, name, t)
  names = {'rect', 'cosine', 'hann', 'hamming', 'blackman', 'tukey', 'gauss'};
  if isstring(name) && isscalar(name)
    name = char(name);
  end
  switch kestrel.detail.check_choice(caller, 'window', name, names)
    case 'rect'
      value = ones(size(t));
    case 'cosine'
      value = cos(pi * t / 2);
    case 'hann'
      value = 0.5 + 0.5 * cos(pi * t);
    case 'hamming'
      value = 0.54 + 0.46 * cos(pi * t);
    case 'blackman'
      value = 0.42 + 0.5 * cos(pi * t) + 0.08 * cos(2 * pi * t);
    case 'tukey'
      value = 0.5 + 0.5 * cos(2 * pi * max(abs(t) - 0.5, 0));
    case 'gauss'
      value = exp(-t.^2 / (2 * 0.4^2));
  end
end
