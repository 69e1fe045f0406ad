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
  if radius == 0
    error('kestrel:argument', '%s: radius must not be 0.', caller);
  end
  if n * pitch > 2 * pi * abs(radius) * (1 + 1e-9)
    error('kestrel:argument', ...
          '%s: %d elements at a pitch of %g m are longer than a circle of radius %g m.', ...
          caller, n, pitch, abs(radius));
  end
  % Neighbouring tangents meet half-way, at this distance from the centres. From half a turn on
  % they don't.
  angle = pitch / abs(radius);
  if n > 1 && angle < pi && prototype.width / 2 > abs(radius) * tan(angle / 2) * (1 + 1e-9)
    error('kestrel:argument', '%s: a pitch of %g m makes elements of %g m overlap.', ...
          caller, pitch, prototype.width);
  end

  array = repmat(prototype, 1, n);
  for i = 1:n
    turn = (i - (n + 1) / 2) * pitch / radius;
    array(i).center = radius * [sin(turn), 0, 2 * sin(turn / 2)^2];
    array(i).euler = [-turn, 0, 0];
  end
  array = kestrel.detail.place_array(caller, array, varargin);
end
