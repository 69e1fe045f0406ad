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
  [below, above] = spans(array, frame);
  low = min(places - below, [], 2);
  high = max(places + above, [], 2);
  places = places - repmat((low + high) / 2, 1, numel(array));
  half = (high - low) / 2;
end

% How far each face reaches from its centre along the frame's axes, down and up (3 by n).
function [below, above] = spans(array, frame)
  [x, y, normal] = kestrel.detail.element_axes(array);
  [inner, outer] = kestrel.detail.element_edges(array);
  flat = repmat(strcmp({array.shape}, 'rect'), 3, 1);
  thrice = @(name) repmat(kestrel.detail.field_columns(array, name, 0) / 2, 3, 1);
  sides = abs(frame * x) .* thrice('width') + abs(frame * y) .* thrice('height');
  normal = frame * normal;
  tilt = sqrt(max(1 - normal .^ 2, 0));
  below = zeros(size(flat));
  above = below;
  for edge = {inner, outer}   % a deep bowl that lies on its side bulges out a little more
    radius = repmat(edge{1}(1, :), 3, 1) .* tilt;
    rise = repmat(edge{1}(2, :), 3, 1) .* normal;
    below = max(below, radius - rise);
    above = max(above, radius + rise);
  end
  below(flat) = sides(flat);
  above(flat) = sides(flat);
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
  [inner, outer] = kestrel.detail.element_edges(array);
  reach = outer(1, :);
  flat = strcmp({array.shape}, 'rect');
  smaller = min(kestrel.detail.field_columns(array, 'width', 0), ...
                kestrel.detail.field_columns(array, 'height', 0)) / 2;
  reach(flat) = smaller(flat);
  place = hypot(places(1, :), places(2, :));
  edge = max(place + reach);
  concentric = inner(1, :) > 0 & place < 1e-9 * reach;
  place(concentric) = (inner(1, concentric) + outer(1, concentric)) / 2;
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
