function [x, y, z] = grid_axes(grid)
%GRID_AXES  The x, y and z values of a regular grid.
%   [X, Y, Z] = kestrel.grid_axes(GRID) returns the values of GRID, from
%   set_coordinate_grid, along its three axes as rows, in metres: P(i, j, k) of a field on
%   that grid is the pressure at (X(i), Y(j), Z(k)). An axis of one value is a number.
%
%   Errors: a GRID that is no grid, or is a list of points.
%
%   Example: the pressure along the z axis
%      grid = set_coordinate_grid([0 0 0.5e-3], 0, 0, 0, 0, 1e-3, 60e-3);
%      p = kestrel.cw_field(kestrel.circle(5e-3), grid, kestrel.medium('water'), 24, 1e6);
%      [~, ~, z] = kestrel.grid_axes(grid);
%      plot(1e3 * z, abs(squeeze(p))), xlabel('z (mm)'), ylabel('Pa')
%
%   See also set_coordinate_grid, kestrel.cw_field, kestrel.show_field.
  caller = 'kestrel.grid_axes';
  kestrel.detail.check_count(caller, nargin, 1, '(grid)');
  grid = kestrel.detail.check_grid(caller, grid);
  if isfield(grid, 'coordinates')
    error('kestrel:argument', '%s: a list of points has no axes.', caller);
  end
  values = kestrel.detail.grid_axes(grid);
  [x, y, z] = values{:};
end
