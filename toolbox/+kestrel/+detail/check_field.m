function [p, values] = check_field(caller, p, grid, purpose)
%CHECK_FIELD  A field, as doubles, in the shape of its regular grid, and the grid's axes.
%   PURPOSE says what a list of points cannot be: 'drawn', 'measured'.
  kestrel.detail.check_grid(caller, grid);
  if isfield(grid, 'coordinates')
    error('kestrel:argument', '%s: only a regular grid can be %s, not a list of points.', ...
          caller, purpose);
  end
  if ~isnumeric(p)
    error('kestrel:argument', '%s: p must be numeric.', caller);
  end
  values = kestrel.detail.grid_axes(grid);
  counts = cellfun(@numel, values);
  if numel(p) ~= prod(counts)
    hint = '';
    fields = numel(p) / prod(counts);
    if fields > 1 && size(p, ndims(p)) == fields   % harmonics, or times
      hint = sprintf(': of its %d fields pick one, as p(:, :, :, 2)', fields);
    end
    error('kestrel:argument', '%s: the grid has %d by %d by %d points, but p has %d values%s.', ...
          caller, counts(1), counts(2), counts(3), numel(p), hint);
  end
  p = reshape(full(double(p)), counts);
end
