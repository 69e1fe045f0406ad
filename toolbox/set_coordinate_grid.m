function grid = set_coordinate_grid(delta, xmin, xmax, ymin, ymax, zmin, zmax)
%SET_COORDINATE_GRID  Observation points: a regular grid or a list of points.
%   GRID = set_coordinate_grid(DELTA, XMIN, XMAX, YMIN, YMAX, ZMIN, ZMAX)
%   describes a regular grid. DELTA is the step in metres, one number for all
%   axes or three numbers [dx dy dz]; the six bounds are in metres. An axis
%   holds xmin, xmin + dx, xmin + 2 dx, ... up to xmax, the end included when
%   the range is a whole number of steps. An axis whose bounds are equal, or
%   whose step is 0, has the one value xmin. A field on such a grid has the
%   size nx-by-ny-by-nz.
%
%   GRID = set_coordinate_grid(POINTS) takes the rows of the m-by-3 matrix
%   POINTS, each (x, y, z) in metres, as they stand. A field on such a grid has
%   the size m-by-1.
%
%   GRID is a structure with the fields delta (1-by-3), xmin, xmax, ymin, ymax,
%   zmin and zmax, or with the one field coordinates (m-by-3).
%
%   Errors: a wrong number of arguments, values that are not real and finite, a
%   DELTA that has neither 1 nor 3 entries or is negative, an upper bound below
%   its lower one, POINTS without exactly three columns.
%
%   Example: the plane y = 0, 201 by 120 points
%      grid = set_coordinate_grid([0.2e-3 0 0.5e-3], -20e-3, 20e-3, 0, 0, ...
%                                 0.5e-3, 60e-3);
%
%   See also set_time_samples, kestrel.cw_field, kestrel.show_field.
  caller = 'set_coordinate_grid';
  if nargin == 1
    points = delta;
    kestrel.detail.check_numbers(caller, 'points', points);
    if ndims(points) ~= 2 || size(points, 2) ~= 3
      error('kestrel:argument', ...
            '%s: points must be an m-by-3 matrix of x, y and z in metres.', caller);
    end
    grid = struct('coordinates', double(full(points)));
    kestrel.detail.check_units(caller, 'm', 'a point''s coordinate', grid.coordinates);
  elseif nargin == 7
    bounds = {xmin, xmax, ymin, ymax, zmin, zmax};
    grid = kestrel.detail.make_grid(caller, delta, bounds);
    kestrel.detail.check_units(caller, 'm', 'a bound', [bounds{:}]);
  else
    error('kestrel:argument', ...
          ['%s: expected (delta, xmin, xmax, ymin, ymax, zmin, zmax) or (points), ' ...
           'but there were %d arguments.'], caller, nargin);
  end
end
