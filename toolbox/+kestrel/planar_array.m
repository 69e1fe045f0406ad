function array = planar_array(n, width, height, pitch, varargin)
%PLANAR_ARRAY  Lattice of equal rectangular elements in a plane.
%   ARRAY = kestrel.planar_array([NX NY], WIDTH, HEIGHT, [PX PY]) is a 1-by-(NX*NY)
%   structure array of rectangles, WIDTH along x by HEIGHT along y, with centres PX
%   apart along x and PY apart along y; all in metres. The array is centred at the
%   origin, lies in the plane z = 0 and radiates into z > 0. Element ix + NX*(iy - 1)
%   stands in column ix (from the smallest x) and row iy (from the smallest y).
%
%   ARRAY = kestrel.planar_array(..., Name, Value, ...) takes the options 'center',
%   'euler', 'amplitude' and 'phase' of kestrel.linear_array.
%
%   Errors: as kestrel.linear_array.
%
%   Example:
%      array = kestrel.planar_array([16 16], 0.5e-3, 0.5e-3, [0.6e-3 0.6e-3]);
%
%   See also kestrel.linear_array, kestrel.rectangle, kestrel.focus,
%   kestrel.cw_field, kestrel.show_array.
  caller = 'kestrel.planar_array';
  kestrel.detail.check_count(caller, nargin, 4, '(n, width, height, pitch, name, value, ...)');
  n = kestrel.detail.check_vector(caller, 'n', n, 2);
  pitch = kestrel.detail.check_vector(caller, 'pitch', pitch, 2);
  array = kestrel.detail.make_lattice(caller, n, {width, height}, pitch, varargin);
end
