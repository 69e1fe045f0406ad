function value = check_vector(caller, name, value, count)
%CHECK_VECTOR  COUNT real, finite numbers as a row of doubles.
  kestrel.detail.check_numbers(caller, name, value);
  if numel(value) ~= count
    error('kestrel:argument', '%s: %s must have %d entries, but it has %d.', ...
          caller, name, count, numel(value));
  end
  value = double(full(value(:).'));
end
