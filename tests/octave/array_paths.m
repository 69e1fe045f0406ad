% Walks the whole-array functions through success, reuse, several threads and some of their errors,
% for valgrind (scripts/valgrind-plugin).
function array_paths ()
  medium = kestrel.medium ('water');
  grid = set_coordinate_grid (1e-3, -5e-3, 5e-3, 0, 0, 1e-3, 1e-2);
  array = kestrel.linear_array (4, 0.5e-3, 2e-3, 1e-3);
  mixed = kestrel.join (array, kestrel.circle (1e-3), kestrel.shell (2e-3, 1e-2));
  [p, info] = kestrel.cw_field (array, grid, medium, 8, 1e6, 'threads', 2);
  [p, info] = kestrel.cw_field (mixed, grid, medium, [], 1e6, 'tolerance', 1e-3, 'reuse', false);
  excitation = set_excitation_function (2, 1, 1e6, 3e-6, 0);
  time = set_time_samples (1e-7, 0, 1e-5);
  q = kestrel.transient_field (mixed, grid, medium, time, 8, excitation, 'threads', 2);
  coarse = struct ('radial_step', 0.1, 'step', 4);
  [h, info] = kestrel.harmonics (mixed(6), grid, medium, 1e6, 1:2, 'kzk', coarse, 'threads', 2);
  coarse.samples = 20;
  q = kestrel.transient_field (mixed(6), grid, medium, time, [], excitation, ...
                               'method', 'kzk_transient', 'kzk', coarse, 'threads', 2);
  bad = mixed;
  bad(3).radius = -1;
  bad(3).width = -1;
  calls = {
    @() kestrel.cw_field(bad, grid, medium, 8, 1e6)
    @() kestrel.cw_field(array, grid, medium, 8, 1e6, 'method', 'nonsense')
    @() kestrel.cw_field(mixed, grid, medium, 8, 1e6, 'method', 'farfield_cw')
    @() kestrel.cw_field(array, grid, medium, 0, 1e6)
    @() kestrel.transient_field(mixed, grid, medium, time, 8, excitation, 'method', 'nonsense')
    @() kestrel.harmonics(setfield (mixed(6), 'amplitude', 1e9), grid, medium, 1e6, 1)
    @() kestrel.harmonics(mixed(6), grid, medium, 1e6, 1, 'kzk', struct ('foo', 1))
  };
  for k = 1:numel (calls)
    failed = false;
    try
      p = calls{k} ();
    catch err
      failed = true;
      printf ('%d: %s\n', k, strtrim (err.message));
    end
    if ~failed, error ('array_paths:succeeded', 'call %d should have failed', k); end
  end
end
