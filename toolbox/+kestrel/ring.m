function element = ring(inner_radius, outer_radius, varargin)
%RING  Flat ring-shaped element.
%   ELEMENT = kestrel.ring(INNER_RADIUS, OUTER_RADIUS) is the part of the plane
%   z = 0 between two circles about the origin, radiating into z > 0; radii in
%   metres. An INNER_RADIUS of 0 makes it a full disc. ELEMENT is a 1-by-1
%   structure; elements of any shapes join to an array with [a, b, ...].
%
%   ELEMENT = kestrel.ring(INNER_RADIUS, OUTER_RADIUS, Name, Value, ...) takes the
%   options 'center', 'euler', 'amplitude' and 'phase' of kestrel.rectangle.
%
%   Errors: a negative INNER_RADIUS, an OUTER_RADIUS that is not greater than the
%   inner one, an unknown option, a value that is not real and finite or has the
%   wrong number of entries.
%
%   Example:
%      element = kestrel.ring(4e-3, 6e-3, 'amplitude', 0.5);
%
%   See also kestrel.circle, kestrel.shell_ring, kestrel.show_array.
  caller = 'kestrel.ring';
  kestrel.detail.check_count(caller, nargin, 2, '(inner_radius, outer_radius, name, value, ...)');
  geometry = kestrel.detail.check_radii(caller, inner_radius, outer_radius);
  element = kestrel.detail.make_element(caller, 'ring', geometry, varargin);
end
