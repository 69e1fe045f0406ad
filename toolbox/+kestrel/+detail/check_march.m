function march = check_march(caller, march, fields)
%CHECK_MARCH  The option 'kzk': [] or one structure with some of the FIELDS (a text).
%   Fields that are [] are taken out: they mean the default. The others are checked where they
%   are read, in the compiled part.
  if isnumeric(march) && isempty(march)
    march = [];
    return
  end
  if ~isstruct(march) || ~isscalar(march)
    error('kestrel:option', ...
          '%s: the option ''kzk'' must be one structure with some of the fields %s.', ...
          caller, fields);
  end
  names = fieldnames(march);
  march = rmfield(march, names(structfun(@(v) isnumeric(v) && isempty(v), march)));
end
