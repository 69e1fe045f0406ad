function array = place_array(caller, array, pairs)
%PLACE_ARRAY  Places and turns an array as a whole, and sets its weights.
%   ARRAY stands in its own frame. PAIRS holds the options 'center', 'euler',
%   'amplitude' and 'phase' of kestrel.linear_array.
  n = numel(array);
  defaults = struct('center', [0 0 0], 'euler', [0 0 0], 'amplitude', 1, 'phase', 0);
  options = kestrel.detail.parse_options(caller, defaults, pairs);
  center = kestrel.detail.check_vector(caller, 'center', options.center, 3);
  euler = kestrel.detail.check_vector(caller, 'euler', options.euler, 3);
  amplitude = per_element(caller, 'amplitude', options.amplitude, n);
  phase = per_element(caller, 'phase', options.phase, n);

  positions = kestrel.detail.to_global(vertcat(array.center).', center, euler);
  size_of = @(name) kestrel.detail.field_columns(array(1), name, 0);
  if all(cellfun(size_of, {'width', 'height', 'radius', 'outer_radius'}) <= 1)
    % Otherwise the element itself has been warned of.
    kestrel.detail.check_units(caller, 'm', 'center', center, 'rad', 'euler', euler, ...
                               'm', 'the position of an element', positions);
  end
  for i = 1:n
    array(i).center = positions(:, i).';
    array(i).euler = kestrel.detail.turn_euler(array(i).euler, euler);
  end
  array = kestrel.detail.set_field(array, 'amplitude', amplitude);
  array = kestrel.detail.set_field(array, 'phase', phase);
end

function value = per_element(caller, name, value, n)
  kestrel.detail.check_numbers(caller, name, value);
  if numel(value) == 1
    value = repmat(value, 1, n);
  elseif numel(value) ~= n
    error('kestrel:argument', '%s: %s must have 1 or %d entries, but it has %d.', ...
          caller, name, n, numel(value));
  end
  value = double(full(value(:).'));
end
