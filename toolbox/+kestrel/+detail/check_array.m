function check_array(caller, array)
%CHECK_ARRAY  Refuses what is no array of elements, naming the element and field.
%   Each field of all elements is looked at in one go, for arrays of thousands; only a
%   value that is refused goes through the check that says why.
  if ~isstruct(array)
    error('kestrel:argument', ...
          '%s: the array must be a structure array of elements, as kestrel.rectangle returns.', ...
          caller);
  end
  if isempty(array)
    return
  end
  required = {'shape', 'center', 'euler'};
  for i = 1:numel(required)
    if ~isfield(array, required{i})
      error('kestrel:argument', '%s: the array lacks the field ''%s''.', caller, required{i});
    end
  end

  shapes = kestrel.detail.shapes();
  unknown = true(1, numel(array));
  for i = 1:numel(shapes)
    members = strcmp({array.shape}, shapes(i).name);
    geometry = shapes(i).sizes;
    for j = 1:numel(geometry)
      check_field(caller, array, find(members), geometry{j}, 1);
    end
    unknown = unknown & ~members;
  end
  if any(unknown)
    text = sprintf('''%s'', ', shapes.name);
    error('kestrel:argument', '%s: element %d: the shape must be one of %s.', caller, ...
          find(unknown, 1), text(1:end - 2));
  end
  check_field(caller, array, 1:numel(array), 'center', 3);
  check_field(caller, array, 1:numel(array), 'euler', 3);
  weights = {'amplitude', 'phase', 'time_delay'};
  for i = find(isfield(array, weights))
    check_field(caller, array, 1:numel(array), weights{i}, 1);
  end
end

% The field NAME of the elements MEMBERS: COUNT real, finite numbers in each.
function check_field(caller, array, members, name, count)
  if isempty(members)
    return
  end
  if ~isfield(array, name)
    error('kestrel:argument', '%s: element %d: the field ''%s'' is missing.', caller, ...
          members(1), name);
  end
  good = cellfun(@(v) isnumeric(v) && numel(v) == count && isreal(v) && all(isfinite(v(:))), ...
                 {array(members).(name)});
  if ~all(good)
    index = members(find(~good, 1));
    where = sprintf('element %d: %s', index, name);
    if count == 1
      kestrel.detail.check_scalar(caller, where, array(index).(name));
    else
      kestrel.detail.check_vector(caller, where, array(index).(name), count);
    end
  end
end
