function array = annular_array(inner_radii, outer_radii, varargin)
%ANNULAR_ARRAY  Concentric rings, flat or cut from a bowl.
%   ARRAY = kestrel.annular_array(INNER_RADII, OUTER_RADII) is a 1-by-n structure
%   array of rings in the plane z = 0 about the origin, radiating into z > 0.
%   Element i lies between the circles of INNER_RADII(i) and OUTER_RADII(i) metres; an
%   element whose inner radius is 0 is a disc, with the shape 'circ'.
%
%   ARRAY = kestrel.annular_array(..., Name, Value, ...) takes the options 'center',
%   'euler', 'amplitude' and 'phase' of kestrel.linear_array, and
%      'rad_curvature'  radius in metres of the sphere from which the rings are cut,
%                       as kestrel.shell_ring does; default Inf: flat rings. The apex
%                       is at the origin and the centre of the sphere at
%                       z = rad_curvature
%
%   kestrel.focus puts the focus anywhere on the axis.
%
%   Errors: INNER_RADII and OUTER_RADII that are not vectors of one length, a
%   negative radius, an outer radius that is not greater than the inner one, rings
%   that would overlap, a rad_curvature below the largest radius, an unknown option,
%   a value with the wrong number of entries.
%
%   Example: 8 elements of equal area with gaps of 0.1 mm, 20 mm in diameter
%      outer = 10e-3 * sqrt((1:8) / 8);
%      array = kestrel.annular_array([0, outer(1:7) + 0.1e-3], outer);
%
%   See also kestrel.ring, kestrel.circle, kestrel.shell_ring, kestrel.focus,
%   kestrel.cw_field.
  caller = 'kestrel.annular_array';
  kestrel.detail.check_count(caller, nargin, 2, '(inner_radii, outer_radii, name, value, ...)');
  kestrel.detail.check_numbers(caller, 'inner_radii', inner_radii);
  kestrel.detail.check_numbers(caller, 'outer_radii', outer_radii);
  n = numel(inner_radii);
  if n < 1 || numel(outer_radii) ~= n
    error('kestrel:argument', ...
          ['%s: inner_radii and outer_radii must have one entry per ring, ' ...
           'but they have %d and %d.'], caller, n, numel(outer_radii));
  end
  [curvature, pairs] = kestrel.detail.take_option('rad_curvature', Inf, varargin);
  if ~isequal(curvature, Inf)
    curvature = kestrel.detail.check_curvature(caller, 'rad_curvature', curvature, ...
                                               max(outer_radii(:)));
  end

  for i = 1:n
    kestrel.detail.check_radii(caller, inner_radii(i), outer_radii(i));
  end
  sizes = struct('inner_radii', double(full(inner_radii(:).')), ...
                 'outer_radii', double(full(outer_radii(:).')), 'rad_curvature', curvature);
  array = kestrel.detail.make_array(caller, 'annular_array', sizes, pairs);
end
