function array = from_positions(prototype, positions, normals, varargin)
%FROM_POSITIONS  Array of equal elements at given places, facing given ways.
%   ARRAY = kestrel.from_positions(PROTOTYPE, POSITIONS, NORMALS) is a 1-by-m structure
%   array of copies of the element PROTOTYPE, from kestrel.circle, kestrel.rectangle and
%   others.
%      POSITIONS  m-by-3, the centres in metres, x y z in each row
%      NORMALS    m-by-3, the directions in which the faces look, of any length; or one
%                 row for all; [] is [0 0 1]
%   The third angle of PROTOTYPE, by which it is spun about its own axis, holds for all;
%   where it has none, a rectangle's width lies in the plane of x and z. Its other angles
%   and its centre do not count.
%
%   ARRAY = kestrel.from_positions(..., Name, Value, ...) takes the options 'center',
%   'euler', 'amplitude' and 'phase' of kestrel.linear_array. Amplitude and phase are
%   those of PROTOTYPE if not given.
%
%   Whether elements overlap is not looked at.
%
%   Errors: a PROTOTYPE that is not one element, POSITIONS or NORMALS that are not rows of
%   three real numbers or differ in count, a normal of length 0, an unknown option, a value
%   with the wrong number of entries.
%
%   Example: 100 discs at random places of a bowl, all facing its centre
%      direction = randn(100, 3) * diag([0.3 0.3 0]) - [0 0 1];
%      direction = direction ./ sqrt(sum(direction .^ 2, 2));
%      array = kestrel.from_positions(kestrel.circle(2e-3), 100e-3 * direction, -direction);
%
%   See also kestrel.aim, kestrel.bowl_array, kestrel.join, kestrel.focus,
%   kestrel.show_array.
  caller = 'kestrel.from_positions';
  kestrel.detail.check_count(caller, nargin, 3, ...
                             '(prototype, positions, normals, name, value, ...)');
  kestrel.detail.check_array(caller, prototype);
  if ~isscalar(prototype)
    error('kestrel:argument', '%s: prototype must be one element, not %d.', caller, ...
          numel(prototype));
  end
  positions = kestrel.detail.check_points(caller, 'positions', positions);
  kestrel.detail.check_size(caller, size(positions, 1));
  if ~(isnumeric(normals) && isempty(normals))
    normals = kestrel.detail.check_points(caller, 'normals', normals);
  end
  sizes = struct('prototype', prototype, 'positions', positions, 'normals', normals);
  weights = {'amplitude', kestrel.detail.field_columns(prototype, 'amplitude', 1), ...
             'phase', kestrel.detail.field_columns(prototype, 'phase', 0)};
  placed = kestrel.detail.make_array(caller, 'from_positions', sizes, [weights, varargin]);
  array = repmat(prototype, 1, numel(placed));   % with its other fields
  for name = {'center', 'euler', 'amplitude', 'phase'}
    [array.(name{1})] = placed.(name{1});
  end
end
