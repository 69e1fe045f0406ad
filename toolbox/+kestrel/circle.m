function element = circle(radius, varargin)
%CIRCLE  Flat circular element (piston).
%   ELEMENT = kestrel.circle(RADIUS) is a disc of RADIUS metres in the plane
%   z = 0, centred at the origin and radiating into z > 0. ELEMENT is a 1-by-1
%   structure; elements of any shapes join to an array with [a, b, ...].
%
%   ELEMENT = kestrel.circle(RADIUS, Name, Value, ...) takes the options
%   'center', 'euler', 'amplitude' and 'phase' of kestrel.rectangle, and
%      'apodization_index'  profile of the velocity over the distance s from the
%                           centre, in radii, for the methods whose names end in
%                           _apodized: 0 uniform (default), 1 cos(pi s / 2),
%                           2 (1 + cos(pi s)) / 2, 3 1 - s^2, 4 1 - s^4
%
%   Errors: a RADIUS that is not greater than 0, an unknown option, a value that
%   is not real and finite or has the wrong number of entries, an unknown profile.
%
%   Example:
%      element = kestrel.circle(5e-3, 'euler', [pi/8 0 0]);
%
%   See also kestrel.ring, kestrel.rectangle, kestrel.show_array.
  caller = 'kestrel.circle';
  kestrel.detail.check_count(caller, nargin, 1, '(radius, name, value, ...)');
  geometry = {kestrel.detail.check_scalar(caller, 'radius', radius, 'positive')};
  element = kestrel.detail.make_element(caller, 'circ', geometry, varargin);
end
