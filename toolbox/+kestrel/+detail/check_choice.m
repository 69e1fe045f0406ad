function value = check_choice(caller, name, value, allowed)
%CHECK_CHOICE  One of the texts in the cell array ALLOWED, in its spelling there.
  if ischar(value)
    match = strcmpi(value, allowed);
    if any(match)
      value = allowed{match};
      return
    end
  end
  text = sprintf('''%s'', ', allowed{:});
  error('kestrel:option', '%s: %s must be one of %s.', caller, name, text(1:end - 2));
end
