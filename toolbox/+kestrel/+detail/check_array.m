function check_array(caller, array)
%CHECK_ARRAY  Refuses what is no array of elements, naming the element and field.
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
  weights = {'amplitude', 'phase'};
  weights = weights(isfield(array, weights));
  for i = 1:numel(array)
    element = array(i);
    where = sprintf('element %d: ', i);
    geometry = {};
    if ischar(element.shape)
      geometry = kestrel.detail.shape_fields(element.shape);
    end
    if isempty(geometry)
      shapes = kestrel.detail.shape_fields();
      text = sprintf('''%s'', ', shapes{:});
      error('kestrel:argument', '%s: %sthe shape must be one of %s.', caller, where, ...
            text(1:end - 2));
    end
    for j = 1:numel(geometry)
      if ~isfield(element, geometry{j})
        error('kestrel:argument', '%s: %sthe field ''%s'' is missing.', caller, where, geometry{j});
      end
      kestrel.detail.check_scalar(caller, [where geometry{j}], element.(geometry{j}));
    end
    kestrel.detail.check_vector(caller, [where 'center'], element.center, 3);
    kestrel.detail.check_vector(caller, [where 'euler'], element.euler, 3);
    for j = 1:numel(weights)
      kestrel.detail.check_scalar(caller, [where weights{j}], element.(weights{j}));
    end
  end
end
