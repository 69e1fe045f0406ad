function array = curved_array(n, width, height, pitch, radius, varargin)
%CURVED_ARRAY  Row of rectangular elements on an arc of a cylinder.
%   ARRAY = kestrel.curved_array(N, WIDTH, HEIGHT, PITCH, RADIUS) is a 1-by-N
%   structure array of flat rectangles whose centres lie PITCH apart, measured along
%   the arc, on a cylinder of radius abs(RADIUS) about an axis parallel to y. They
%   touch the cylinder, WIDTH along the arc by HEIGHT along y; all in metres. The
%   middle of the arc is at the origin, and
%      RADIUS > 0  hollow (concave): the axis is at z = RADIUS, in front of the
%                  array, and all elements face it, as kestrel.shell does
%      RADIUS < 0  bulging (convex), as probes for the abdomen are: the axis is at
%                  z = RADIUS, behind the array, and all elements face away from it
%   Element 1 has the smallest x where the arc is at most half a turn.
%
%   ARRAY = kestrel.curved_array(..., Name, Value, ...) takes the options 'center'
%   (here the middle of the arc), 'euler', 'amplitude' and 'phase' of
%   kestrel.linear_array.
%
%   Errors: N that is not a whole number of at least 1, a size or pitch that is not
%   greater than 0, a RADIUS of 0, elements that would overlap, an arc of more than
%   a full turn, an unknown option, a value with the wrong number of entries.
%
%   Example: a convex probe of 128 elements, 60 mm radius, opening angle 58 degrees
%      array = kestrel.curved_array(128, 0.4e-3, 12e-3, 0.475e-3, -60e-3);
%
%   See also kestrel.linear_array, kestrel.bowl_array, kestrel.focus,
%   kestrel.cw_field, kestrel.show_array.
  caller = 'kestrel.curved_array';
  kestrel.detail.check_count(caller, nargin, 5, ...
                             '(n, width, height, pitch, radius, name, value, ...)');
  n = kestrel.detail.check_scalar(caller, 'n', n, 'count');
  kestrel.detail.check_size(caller, n);
  prototype = kestrel.rectangle(width, height);
  pitch = kestrel.detail.check_scalar(caller, 'pitch', pitch, 'positive');
  radius = kestrel.detail.check_scalar(caller, 'radius', radius);
  sizes = struct('n', n, 'width', prototype.width, 'height', prototype.height, ...
                 'pitch', pitch, 'radius', radius);
  array = kestrel.detail.make_array(caller, 'curved_array', sizes, varargin);
end
