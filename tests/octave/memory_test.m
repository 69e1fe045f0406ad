% A thousand calls, successful and refused, leave nothing behind: one lost result array per call
% would be six megabytes, one lost shell a gigabyte.
function memory_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  expect(memory_growth(500) < 2e6, 'memory grows');
end
