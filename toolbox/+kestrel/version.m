function number = version()
%VERSION  The version of this toolbox.
%   kestrel.version() is a text of three numbers, as '1.2.3': the first changes when
%   programs that used an earlier version must be changed, the second with new functions.
%
%   Errors: none.
%
%   Example: what to send with a report
%      disp(kestrel.version()), disp(version())
%
%   See also kestrel.selftest.
  contents = fileread(fullfile(fileparts(mfilename('fullpath')), 'Contents.m'));
  number = regexp(contents, '(?<=% Version )\S+', 'match', 'once');
end
