function values = field_columns(array, name, default)
%FIELD_COLUMNS  A field of all elements as doubles, a column for each element.
%   With a DEFAULT it is one number in each, and DEFAULT stands where it is anything else,
%   as in elements whose shape has no such field, or where the array lacks it.
  if ~isfield(array, name)
    values = default * ones(1, numel(array));
    return
  end
  values = {array.(name)};
  if nargin > 2
    values(~cellfun(@(v) isnumeric(v) && isscalar(v) && isreal(v) && isfinite(v), ...
                     values)) = {default};
  end
  values = cellfun(@(v) double(full(v(:))), values, 'UniformOutput', false);
  values = [values{:}];
end
