function varargout = run_compiled(entry, varargin)
%RUN_COMPILED  Calls a compiled function; its errors come as if from the function it serves.
%   Octave puts the name of the compiled function in front of its text, which begins with
%   the name of the function that the user called.
  varargout = cell(1, nargout);
  try
    [varargout{:}] = entry(varargin{:});
  catch failure
    error(failure.identifier, '%s', regexprep(failure.message, '^\w+: (?=kestrel\.)', ''));
  end
end
