function array = linear_array(n, width, height, pitch, varargin)
%LINEAR_ARRAY  Row of equal rectangular elements along x.
%   ARRAY = kestrel.linear_array(N, WIDTH, HEIGHT, PITCH) is a 1-by-N structure
%   array of rectangles, WIDTH along x by HEIGHT along y, with centres PITCH apart
%   along x; all in metres. The array is centred at the origin, lies in the plane
%   z = 0 and radiates into z > 0. Element 1 has the smallest x.
%
%   ARRAY = kestrel.linear_array(..., Name, Value, ...) with
%      'center'     [x y z] of the array's centre in metres, default [0 0 0]
%      'euler'      [e1 e2 e3] in radians, default [0 0 0]: turns the array as a
%                   whole, positions and faces, as kestrel.rectangle says
%      'amplitude'  one number or one per element, default 1
%      'phase'      one number or one per element in radians, default 0
%
%   Errors: N that is not a whole number of at least 1, a size or pitch that is not
%   greater than 0, elements that would overlap, an unknown option, a value with
%   the wrong number of entries.
%
%   Example: 64 elements focused at a depth of 40 mm
%      array = kestrel.linear_array(64, 0.5e-3, 10e-3, 0.6e-3);
%      array = kestrel.focus(array, [0 0 40e-3], kestrel.medium('water'), 1e6);
%
%   See also kestrel.planar_array, kestrel.rectangle, kestrel.focus,
%   kestrel.cw_field, kestrel.show_array.
  caller = 'kestrel.linear_array';
  kestrel.detail.check_count(caller, nargin, 4, '(n, width, height, pitch, name, value, ...)');
  n = kestrel.detail.check_scalar(caller, 'n', n, 'count');
  pitch = kestrel.detail.check_scalar(caller, 'pitch', pitch, 'positive');
  array = kestrel.detail.make_lattice(caller, [n 1], {width, height}, [pitch pitch], varargin);
end
