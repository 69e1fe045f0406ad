function value = check_scalar(caller, name, value, kind)
%CHECK_SCALAR  One real, finite number as a double, of a kind where one is given.
%   KIND is 'positive', 'nonnegative' or 'count' (a whole number of at least 1).
  if ~isnumeric(value) || ~isscalar(value) || ~isreal(value) || ~isfinite(value)
    error('kestrel:argument', '%s: %s must be one real, finite number.', caller, name);
  end
  value = double(full(value));
  if nargin < 4
    return
  end
  switch kind
    case 'positive'
      if value <= 0
        error('kestrel:argument', '%s: %s must be greater than 0.', caller, name);
      end
    case 'nonnegative'
      if value < 0
        error('kestrel:argument', '%s: %s must not be negative.', caller, name);
      end
    case 'count'
      if value < 1 || value ~= floor(value)
        error('kestrel:argument', '%s: %s must be a whole number of at least 1.', caller, name);
      end
  end
end
