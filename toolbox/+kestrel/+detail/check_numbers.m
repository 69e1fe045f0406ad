function check_numbers(caller, name, value)
%CHECK_NUMBERS  Refuses a value that is not numeric, real and finite.
  if ~isnumeric(value) || ~isreal(value) || any(~isfinite(double(value(:))))
    error('kestrel:argument', '%s: %s must be real and finite.', caller, name);
  end
end
