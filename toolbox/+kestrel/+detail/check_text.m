function value = check_text(caller, name, value)
%CHECK_TEXT  A row of characters, or empty.
  if ~ischar(value) || (~isempty(value) && ~isrow(value))
    error('kestrel:option', '%s: %s must be text.', caller, name);
  end
end
