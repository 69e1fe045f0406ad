function grid = check_grid(caller, grid)
%CHECK_GRID  Refuses what set_coordinate_grid would not have returned.
  if ~isstruct(grid) || ~isscalar(grid)
    error('kestrel:argument', ...
          '%s: the grid must be one structure, as set_coordinate_grid returns.', caller);
  end
  if isfield(grid, 'coordinates')
    if ndims(grid.coordinates) ~= 2 || size(grid.coordinates, 2) ~= 3
      error('kestrel:argument', '%s: the grid''s coordinates must be an m-by-3 matrix.', caller);
    end
    kestrel.detail.check_numbers(caller, 'the grid''s coordinates', grid.coordinates);
    grid.coordinates = double(full(grid.coordinates));
    return
  end
  names = {'xmin', 'xmax', 'ymin', 'ymax', 'zmin', 'zmax', 'delta'};
  for i = 1:7
    if ~isfield(grid, names{i})
      error('kestrel:argument', '%s: the grid lacks the field ''%s''.', caller, names{i});
    end
  end
  delta = kestrel.detail.check_vector(caller, 'the grid''s delta', grid.delta, 3);
  grid = kestrel.detail.make_grid(caller, delta, {grid.xmin, grid.xmax, grid.ymin, ...
                                                  grid.ymax, grid.zmin, grid.zmax});
end
