function restore = plain_warnings()
%PLAIN_WARNINGS  Warnings in one line, without the functions they come through, for a while.
%   They are as before once RESTORE has gone, after an error or Ctrl-C too.
  before = warning('query', 'backtrace');
  warning('off', 'backtrace');
  restore = onCleanup(@() warning(before.state, 'backtrace'));
end
