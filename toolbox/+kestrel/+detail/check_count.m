function check_count(caller, given, needed, usage)
%CHECK_COUNT  Refuses a call with fewer arguments than the function needs.
%   GIVEN is the caller's nargin, USAGE the arguments as a user writes them.
  if given < needed
    words = {'were', 'arguments'};
    if given == 1
      words = {'was', 'argument'};
    end
    error('kestrel:argument', '%s: expected %s, but there %s %d %s.', ...
          caller, usage, words{1}, given, words{2});
  end
end
