function varargout = run_compiled(caller, name, varargin)
%RUN_COMPILED  Calls a compiled function; its errors come as if from the function it serves.
%   NAME is that of a function in kestrel.detail. Every error has an identifier: what the
%   interpreter or its loader says without one is 'kestrel:field' here, since error('', ...)
%   would throw nothing.
  restore = kestrel.detail.plain_warnings();
  varargout = cell(1, nargout);
  try
    [varargout{:}] = feval(['kestrel.detail.', name], varargin{:});
  catch failure
    % Octave puts the name of the compiled function in front of the text.
    text = regexprep(failure.message, '^\w+: (?=kestrel\.)', '');
    identifier = failure.identifier;
    if ~strncmp(identifier, 'kestrel:', 8)   % not from the compiled function itself
      kestrel.detail.check_installed(caller, name);
    end
    if isempty(identifier)
      identifier = 'kestrel:field';
    end
    if ~strncmp(text, 'kestrel.', 8)
      text = [caller, ': ', text];
    end
    error(identifier, '%s', text);
  end
end
