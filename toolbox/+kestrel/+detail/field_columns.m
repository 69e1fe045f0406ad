function values = field_columns(array, name, default)
%FIELD_COLUMNS  A field of all elements as doubles, a column for each element.
%   Where it is empty or the array lacks it, the number DEFAULT stands.
  if ~isfield(array, name)
    values = default * ones(1, numel(array));
    return
  end
  values = {array.(name)};
  missing = cellfun(@isempty, values);
  if any(missing)
    values(missing) = {default};
  end
  values = cellfun(@(v) double(v(:)), values, 'UniformOutput', false);
  values = [values{:}];
end
