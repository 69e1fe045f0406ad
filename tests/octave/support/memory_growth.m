function bytes = memory_growth(calls)
%MEMORY_GROWTH  Growth of this process over many calls of the compiled entry.
%   BYTES = memory_growth(CALLS) makes CALLS successful calls and as many that end in
%   errors early and late, after some that warm up. By hand:
%      octave-cli --path build/toolbox --path tests/octave/support ...
%                 --eval 'memory_growth(100000)'
  grid = set_coordinate_grid([1e-3 0 1e-3], -10e-3, 10e-3, 0, 0, 1e-3, 20e-3);
  water = kestrel.medium('water');
  rect = kestrel.rectangle(1e-3, 1e-3);
  invalid = [rect, rect];
  invalid(2).shape = 'square';
  shell = kestrel.shell(1e-3, 5e-3);   % created, with its working storage, and then refused
  steps = ceil(calls / 4);
  run(ceil(steps / 10) + 20);
  before = resident();
  run(steps);
  bytes = resident() - before;
  printf('%d calls: memory grew by %d KiB\n', 8 * steps, round(bytes / 1024));

  function run(count)
    for i = 1:count
      p = fnm_cw_single(rect, grid, water, 2, 1e6);
      p = fnm_cw_single([rect, rect, rect], grid, water, 2, 1e6);
      p = fnm_cw_single(repmat(rect, 1, 0), grid, water, 2, 1e6);
      p = fnm_cw_single(rect, set_coordinate_grid([0 0 1e-3]), water, 2, 1e6);
      refused(rect, grid, water, 0, 1e6);
      refused(shell, grid, water, 2, 1e6);
      refused([rect, rect, setfield(rect, 'center', [])], grid, water, 2, 1e6);
      evalc('refused(invalid, grid, water, 2, 1e6);');
    end
  end
end

function refused(varargin)
  try
    evalc('p = fnm_cw_single(varargin{:});');
    returned = true;
  catch
    returned = false;
  end
  expect(~returned, 'the call should have failed');
end

% Resident memory of this process in bytes, as the kernel counts it.
function bytes = resident()
  status = fileread('/proc/self/status');
  kilobytes = regexp(status, 'VmRSS:\s+(\d+) kB', 'tokens', 'once');
  bytes = 1024 * str2double(kilobytes{1});
end
