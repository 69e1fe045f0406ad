function expect(condition, text, varargin)
%EXPECT  Fails the running test with a formatted text unless the condition holds.
  if ~condition
    error(['expectation failed: ' text], varargin{:});
  end
end
