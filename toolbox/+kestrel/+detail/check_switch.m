function value = check_switch(caller, name, value)
%CHECK_SWITCH  An option that is true or false, as a logical.
  if ~(isscalar(value) && (islogical(value) || isnumeric(value)) && ...
       (value == 0 || value == 1))
    error('kestrel:option', '%s: %s must be true or false.', caller, name);
  end
  value = logical(value);
end
