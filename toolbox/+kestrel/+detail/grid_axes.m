function values = grid_axes(grid)
%GRID_AXES  The x, y and z values of a regular grid, as {x, y, z}.
%   The same numbers as in the compiled code: value i is i * delta + min, and a
%   range that is a whole number of steps up to rounding keeps its end.
  bounds = [grid.xmin grid.xmax; grid.ymin grid.ymax; grid.zmin grid.zmax];
  values = cell(1, 3);
  for i = 1:3
    count = 1;
    if bounds(i, 1) ~= bounds(i, 2) && grid.delta(i) ~= 0
      count = floor((bounds(i, 2) - bounds(i, 1)) / grid.delta(i) + 1e-10) + 1;
    end
    values{i} = (0:count - 1) * grid.delta(i) + bounds(i, 1);
  end
end
