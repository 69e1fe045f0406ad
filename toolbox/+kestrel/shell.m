function element = shell(radius, rad_curvature, varargin)
%SHELL  Spherically curved, focusing element (cap of a sphere).
%   ELEMENT = kestrel.shell(RADIUS, RAD_CURVATURE) is a cap with the aperture
%   radius RADIUS, cut from a sphere of radius RAD_CURVATURE; both in metres. Its
%   apex is at the origin, its hollow side faces +z, and the centre of the sphere
%   (the geometric focus) is at z = RAD_CURVATURE. The cap is at most a
%   hemisphere. ELEMENT is a 1-by-1 structure; elements of any shapes join to an
%   array with [a, b, ...].
%
%   ELEMENT = kestrel.shell(RADIUS, RAD_CURVATURE, Name, Value, ...) takes the
%   options 'center' (here the apex), 'euler', 'amplitude' and 'phase' of
%   kestrel.rectangle.
%
%   Errors: a RADIUS that is not greater than 0, a RAD_CURVATURE less than RADIUS,
%   an unknown option, a value that is not real and finite or has the wrong number
%   of entries.
%
%   Example:
%      element = kestrel.shell(32e-3, 63e-3);
%
%   See also kestrel.shell_ring, kestrel.circle, kestrel.show_array.
  caller = 'kestrel.shell';
  kestrel.detail.check_count(caller, nargin, 2, '(radius, rad_curvature, name, value, ...)');
  radius = kestrel.detail.check_scalar(caller, 'radius', radius, 'positive');
  geometry = {radius, kestrel.detail.check_curvature(caller, 'rad_curvature', rad_curvature, ...
                                                     radius)};
  element = kestrel.detail.make_element(caller, 'shel', geometry, varargin);
end
