% kestrel.selftest: right figures inside, passes here, and notices a fault.
function selftest_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  [array, points, f0, p] = kestrel.detail.known_field();
  integral = surface_integral(array, points, kestrel.medium('lossless'), 60, f0);
  expect_close(p, integral, 1e-12, 'the known figures');

  printed = evalc('passed = kestrel.selftest();');
  expect(passed, 'it failed: %s', printed);
  expect(~isempty(strfind(printed, 'All checks passed.')), 'it printed: %s', printed);
  expect(isempty(strfind(printed, 'FAILED')), 'it printed: %s', printed);

  % A compiled part that gives a slightly wrong field, in a folder that is found first.
  folder = tempname();
  detail = fullfile(folder, '+kestrel');
  mkdir(folder);
  mkdir(detail);
  remove = onCleanup(@() rmdir_all(folder));
  file = fopen(fullfile(detail, 'cw_field.m'), 'w');
  fprintf(file, 'function p = cw_field(array, grid, varargin)\n');
  fprintf(file, '  p = ones(size(grid.coordinates, 1), 1);\nend\n');
  fclose(file);
  command = sprintf(['octave-cli --norc --no-history --quiet --path "%s" --path "%s" ' ...
                     '--eval "exit(kestrel.selftest())"'], ...
                    folder, fileparts(which('set_coordinate_grid')));
  [status, printed] = system([command, ' 2>&1']);
  expect(status == 0 && ~isempty(strfind(printed, 'do not trust')), ...
         'a wrong field passed (%d): %s', status, printed);
end

function rmdir_all(folder)
  confirm_recursive_rmdir(false, 'local');
  rmdir(folder, 's');
end
