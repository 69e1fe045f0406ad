function array = bowl_array(n, element_radius, aperture_radius, rad_curvature, varargin)
%BOWL_ARRAY  Discs on a spherical bowl, all facing its centre.
%   ARRAY = kestrel.bowl_array(N, ELEMENT_RADIUS, APERTURE_RADIUS, RAD_CURVATURE) is
%   a 1-by-N structure array of flat discs of ELEMENT_RADIUS whose centres lie on a
%   sphere of radius RAD_CURVATURE; all in metres. The lowest point of the sphere is
%   at the origin, its centre is at z = RAD_CURVATURE, and all elements face it, so
%   with equal phases the array focuses there. No part of an element is farther than
%   APERTURE_RADIUS from the z axis, and no two overlap.
%
%   The centres follow a spiral that turns by the golden angle from element to
%   element and rises so that every element has the same area of the sphere. It has
%   no rows, which keeps grating lobes low. Element 1 is the innermost. The largest
%   discs that fit cover 38 percent of the bowl with 7 elements, and 60 with 256.
%
%   ARRAY = kestrel.bowl_array(..., Name, Value, ...) takes the options 'center'
%   (here the lowest point of the sphere), 'euler', 'amplitude' and 'phase' of
%   kestrel.linear_array, and
%      'inner_radius'       radius in metres of an opening around the axis, default 0
%      'apodization_index'  as kestrel.circle takes it, for all discs
%
%   Errors: N that is not a whole number of at least 1, a size that is not greater
%   than 0, a RAD_CURVATURE less than APERTURE_RADIUS, N discs that do not fit (the
%   largest ELEMENT_RADIUS that does is named), an unknown option, a value with the
%   wrong number of entries.
%
%   Example: a bowl for hyperthermia, 256 discs, 120 mm across
%      array = kestrel.bowl_array(256, 2.8e-3, 60e-3, 120e-3);
%
%   See also kestrel.from_positions, kestrel.circle, kestrel.curved_array, kestrel.shell,
%   kestrel.focus, kestrel.cw_field, kestrel.show_array.
  caller = 'kestrel.bowl_array';
  kestrel.detail.check_count(caller, nargin, 4, ...
    '(n, element_radius, aperture_radius, rad_curvature, name, value, ...)');
  n = kestrel.detail.check_scalar(caller, 'n', n, 'count');
  kestrel.detail.check_size(caller, n);
  element_radius = kestrel.detail.check_scalar(caller, 'element_radius', element_radius, ...
                                               'positive');
  aperture = kestrel.detail.check_scalar(caller, 'aperture_radius', aperture_radius, 'positive');
  curvature = kestrel.detail.check_curvature(caller, 'rad_curvature', rad_curvature, aperture);
  [profile, pairs] = kestrel.detail.take_option('apodization_index', 0, varargin);
  prototype = kestrel.circle(element_radius, 'apodization_index', profile);
  [opening, pairs] = kestrel.detail.take_option('inner_radius', 0, pairs);
  opening = kestrel.detail.check_scalar(caller, 'inner_radius', opening, 'nonnegative');
  if opening >= aperture
    error('kestrel:option', '%s: inner_radius must be less than aperture_radius.', caller);
  end

  directions = spiral(n, prototype.radius, opening, aperture, curvature);
  if ~fits(directions, prototype.radius, curvature)
    error('kestrel:argument', '%s: %d discs of radius %g m do not fit; a radius of %g m does.', ...
          caller, n, prototype.radius, ...
          largest(n, prototype.radius, opening, aperture, curvature));
  end

  array = repmat(prototype, 1, n);
  angles = kestrel.detail.facing_euler(-directions.', 0);   % towards the centre of the sphere
  for i = 1:n
    array(i).center = curvature * (directions(:, i).' + [0 0 1]);
    array(i).euler = angles(i, :);
  end
  array = kestrel.detail.place_array(caller, array, pairs);
end

% Unit vectors (columns) from the sphere's centre to the elements' centres; empty when
% not even one disc of this radius has its place between the opening and the aperture.
function directions = spiral(n, radius, opening, aperture, curvature)
  directions = zeros(3, 0);
  reach = hypot(curvature, radius);
  half_angle = atan(radius / curvature);
  % A disc at the polar angle t lies between the distances reach * sin(t -+ half_angle) from
  % the axis.
  outermost = asin(aperture / reach) - half_angle;
  innermost = 0;
  if opening > 0
    innermost = asin(opening / reach) + half_angle;
  end
  if outermost < innermost
    return
  end
  % Equal steps of height are equal areas. The last disc touches the aperture and, around an
  % opening, the first one touches that.
  step = 0:n - 1;
  if opening > 0
    part = step / max(n - 1, 1);
  elseif n == 1
    part = 0;
  else
    % The start of the spiral, where it is the most uneven, is left out: 0.5 would be the whole,
    % and 1.3 has room for larger discs at nearly every n.
    part = (step + 1.3) / (n + 0.3);
  end
  sagitta = 2 * sin(innermost / 2)^2 * (1 - part) + 2 * sin(outermost / 2)^2 * part;
  turn = step * pi * (3 - sqrt(5));
  across = sqrt(sagitta .* (2 - sagitta));
  directions = [across .* cos(turn); across .* sin(turn); sagitta - 1];
end

% Whether flat discs that touch the sphere at these directions keep clear of each other: the
% planes of two of them meet at the distance curvature * tan(half the angle between).
function good = fits(directions, radius, curvature)
  good = ~isempty(directions);
  nearest = cos(2 * atan(radius / curvature));
  for i = 2:size(directions, 2)
    good = good && max(directions(:, i).' * directions(:, 1:i - 1)) <= nearest + 1e-12;
  end
end

% The largest radius, to 0.1 micrometres, below a RADIUS that does not fit.
function low = largest(n, radius, opening, aperture, curvature)
  low = 0;
  high = radius;
  for i = 1:30
    middle = (low + high) / 2;
    if fits(spiral(n, middle, opening, aperture, curvature), middle, curvature)
      low = middle;
    else
      high = middle;
    end
  end
  low = floor(low * 1e7) / 1e7;
end
