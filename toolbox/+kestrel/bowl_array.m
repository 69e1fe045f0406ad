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

  sizes = struct('n', n, 'element_radius', prototype.radius, 'aperture_radius', aperture, ...
                 'rad_curvature', curvature, 'inner_radius', opening, ...
                 'apodization_index', prototype.apodization_index);
  array = kestrel.detail.make_array(caller, 'bowl_array', sizes, pairs);
end
