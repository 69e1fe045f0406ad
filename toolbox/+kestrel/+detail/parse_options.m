function options = parse_options(caller, options, pairs)
%PARSE_OPTIONS  Name-value pairs over a structure of defaults.
%   OPTIONS = parse_options(CALLER, DEFAULTS, PAIRS) returns DEFAULTS with
%   the values of the cell array PAIRS = {name, value, ...} put in. Letter
%   case of the names does not count; an unknown name is an error that lists the
%   names there are.
  known = fieldnames(options);
  if mod(numel(pairs), 2) ~= 0
    error('kestrel:option', '%s: options come as name and value, but the last has no value.', ...
          caller);
  end
  for i = 1:2:numel(pairs)
    name = pairs{i};
    if isstring(name) && isscalar(name)
      name = char(name);
    end
    if ~ischar(name)
      error('kestrel:option', '%s: an option''s name must be text; the options are %s.', ...
            caller, list(known));
    end
    match = strcmpi(name, known);
    if ~any(match)
      error('kestrel:option', '%s: unknown option ''%s''; the options are %s.', ...
            caller, name, list(known));
    end
    value = pairs{i + 1};
    if isstring(value) && isscalar(value)
      value = char(value);
    end
    options.(known{match}) = value;
  end
end

function text = list(names)
  text = sprintf('''%s'', ', names{:});
  text = text(1:end - 2);
end
