function warn(identifier, varargin)
%WARN  A warning in one line: the functions it comes through mean nothing to the user.
  restore = kestrel.detail.plain_warnings();
  warning(identifier, varargin{:});
end
