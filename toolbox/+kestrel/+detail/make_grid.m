function grid = make_grid(caller, delta, bounds)
%MAKE_GRID  A regular grid of the step DELTA and the six BOUNDS, in a cell array.
  kestrel.detail.check_numbers(caller, 'delta', delta);
  if numel(delta) ~= 1 && numel(delta) ~= 3
    error('kestrel:argument', '%s: delta must have 1 or 3 entries, but it has %d.', ...
          caller, numel(delta));
  end
  if any(delta(:) < 0)
    error('kestrel:argument', '%s: delta must not be negative.', caller);
  end
  grid = struct('delta', double(full(delta(:).')) .* ones(1, 3));
  names = {'xmin', 'xmax', 'ymin', 'ymax', 'zmin', 'zmax'};
  for i = 1:6
    grid.(names{i}) = kestrel.detail.check_scalar(caller, names{i}, bounds{i});
  end
  for i = 1:2:5
    if grid.(names{i + 1}) < grid.(names{i})
      error('kestrel:argument', '%s: %s must not be less than %s.', ...
            caller, names{i + 1}, names{i});
    end
    step = grid.delta((i + 1) / 2);
    if step > 0 && (grid.(names{i + 1}) - grid.(names{i})) / step > 2147483646
      error('kestrel:argument', '%s: from %s to %s there are more than 2147483647 points.', ...
            caller, names{i}, names{i + 1});
    end
  end
end
