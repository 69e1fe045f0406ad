function element = shell_ring(inner_radius, outer_radius, geometric_focus, varargin)
%SHELL_RING  Ring cut from a spherically curved, focusing element.
%   ELEMENT = kestrel.shell_ring(INNER_RADIUS, OUTER_RADIUS, GEOMETRIC_FOCUS) is
%   the part of a spherical cap between two aperture radii; GEOMETRIC_FOCUS is the
%   radius of the sphere; all in metres. The apex of the cap is at the origin, its
%   hollow side faces +z, and the centre of the sphere is at z = GEOMETRIC_FOCUS.
%   An INNER_RADIUS of 0 makes it a full cap. ELEMENT is a 1-by-1 structure;
%   elements of any shapes join to an array with [a, b, ...].
%
%   ELEMENT = kestrel.shell_ring(..., Name, Value, ...) takes the options 'center'
%   (here the apex), 'euler', 'amplitude' and 'phase' of kestrel.rectangle.
%
%   Errors: a negative INNER_RADIUS, an OUTER_RADIUS that is not greater than the
%   inner one, a GEOMETRIC_FOCUS less than OUTER_RADIUS, an unknown option, a value
%   that is not real and finite or has the wrong number of entries.
%
%   Example: two rings of one bowl
%      array = [kestrel.shell_ring(0, 10e-3, 60e-3), ...
%               kestrel.shell_ring(11e-3, 15e-3, 60e-3)];
%
%   See also kestrel.shell, kestrel.ring, kestrel.show_array.
  caller = 'kestrel.shell_ring';
  kestrel.detail.check_count(caller, nargin, 3, ...
                             '(inner_radius, outer_radius, geometric_focus, name, value, ...)');
  geometry = kestrel.detail.check_radii(caller, inner_radius, outer_radius);
  geometry{3} = kestrel.detail.check_curvature(caller, 'geometric_focus', geometric_focus, ...
                                               geometry{2});
  element = kestrel.detail.make_element(caller, 'sph ring', geometry, varargin);
end
