function points = grid_points(grid)
%GRID_POINTS  The points of a grid, m-by-3, x fastest, then y, then z.
  if isfield(grid, 'coordinates')
    points = grid.coordinates;
    return
  end
  bounds = [grid.xmin grid.xmax; grid.ymin grid.ymax; grid.zmin grid.zmax];
  values = cell(1, 3);
  for d = 1:3
    count = 1;
    if bounds(d, 1) ~= bounds(d, 2) && grid.delta(d) ~= 0
      count = floor((bounds(d, 2) - bounds(d, 1)) / grid.delta(d) + 1e-10) + 1;
    end
    values{d} = (0:count - 1) * grid.delta(d) + bounds(d, 1);
  end
  [x, y, z] = ndgrid(values{:});
  points = [x(:), y(:), z(:)];
end
