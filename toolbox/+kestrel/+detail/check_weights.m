function check_weights(caller, array, ignored)
%CHECK_WEIGHTS  Warns where an array is focused by weights that a calculation does not use.
%   IGNORED is 'phase' or 'time_delay'; the other one counts. Elements that differ in the
%   one and not in the other would go unfocused without a word.
  if strcmp(ignored, 'phase')
    if differ(array, 'phase') && ~differ(array, 'time_delay')
      kestrel.detail.warn('kestrel:weights', ['%s: phases do not count in pulses, and no ' ...
                          'time_delay differs: kestrel.focus_delays sets delays.'], caller);
    end
  elseif differ(array, 'time_delay') && ~differ(array, 'phase')
    kestrel.detail.warn('kestrel:weights', ['%s: a time_delay does not count in a continuous ' ...
                        'wave, and no phase differs: kestrel.focus sets phases.'], caller);
  end
end

% Whether elements have unlike values in a field. What is no array of elements is refused later.
function result = differ(array, name)
  result = false;
  if isstruct(array) && numel(array) > 1 && isfield(array, name)
    values = kestrel.detail.field_columns(array, name, 0);
    if strcmp(name, 'phase')
      values = angle(exp(1j * (values - values(1))));
      result = any(abs(values) > 1e-9);
    else
      result = any(values ~= values(1));
    end
  end
end
