% Grids, time axes, elements, arrays and media: what the toolbox's builders return, and what
% they refuse.
function toolbox_inputs_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  grids_and_times();
  elements();
  arrays();
  media();
  missing_arguments();
  refusals();
  help_texts();
end

function grids_and_times()
  grid = set_coordinate_grid(1e-3, 0, 2e-3, -1e-3, 1e-3, 0, 3e-3);
  expect(isequal(grid.delta, [1e-3 1e-3 1e-3]), 'one step serves all axes');
  expect(isequal([grid.xmin grid.xmax grid.ymin grid.ymax grid.zmin grid.zmax], ...
                 [0 2e-3 -1e-3 1e-3 0 3e-3]), 'bounds in their places');
  grid = set_coordinate_grid([1; 2; 3], 0, 1, 0, 1, 0, 1);
  expect(isequal(grid.delta, [1 2 3]), 'three steps as a row');
  axes = kestrel.detail.grid_axes(set_coordinate_grid([0.1 0 1], 0, 0.3, 0, 1, 2, 2));
  expect(isequal(cellfun(@numel, axes), [4 1 1]), ...
         'a whole number of steps keeps its end; step 0 and equal bounds give one value');
  points = [1 2 3; 4 5 6];
  expect(isequal(set_coordinate_grid(points), struct('coordinates', points)), 'list of points');

  expect(isequal(set_time_samples(1e-8, 0, 1e-6), ...
                 struct('deltat', 1e-8, 'tmin', 0, 'tmax', 1e-6)), 'regular time axis');
  expect(isequal(set_time_samples([3 1 2]), struct('time_samples', [3 1 2])), 'list of times');
end

function elements()
  made = {kestrel.rectangle(1e-3, 2e-3), kestrel.circle(3e-3), kestrel.ring(1e-3, 2e-3), ...
          kestrel.shell(5e-3, 20e-3), kestrel.shell_ring(2e-3, 5e-3, 20e-3)};
  geometry = {struct('shape', 'rect', 'width', 1e-3, 'height', 2e-3), ...
              struct('shape', 'circ', 'radius', 3e-3), ...
              struct('shape', 'ring', 'inner_radius', 1e-3, 'outer_radius', 2e-3), ...
              struct('shape', 'shel', 'radius', 5e-3, 'rad_curvature', 20e-3), ...
              struct('shape', 'sph ring', 'inner_radius', 2e-3, 'outer_radius', 5e-3, ...
                     'geometric_focus', 20e-3)};
  for i = 1:5
    expected = geometry{i};
    expected.center = [0 0 0];
    expected.euler = [0 0 0];
    expected.amplitude = 1;
    expected.phase = 0;
    for name = fieldnames(expected).'
      expect(isequal(made{i}.(name{1}), expected.(name{1})), '%s of shape %d', name{1}, i);
    end
  end
  joined = [made{:}];
  expect(isequal(size(joined), [1 5]), 'elements of all shapes join');
  kestrel.detail.check_array('test', joined);

  element = kestrel.circle(1e-3, 'Center', [1; 2; 3], 'EULER', [4 5 6], 'amplitude', -2, 'phase', 7);
  expect(isequal(element.center, [1 2 3]) && isequal(element.euler, [4 5 6]) ...
         && element.amplitude == -2 && element.phase == 7, 'options, in any letter case');
  bowl = kestrel.bowl_array(3, 1e-3, 5e-3, 9e-3, 'phase', 1, 'apodization_index', 4);
  expect(isequal([bowl.apodization_index], [4 4 4]) && isequal([bowl.phase], [1 1 1]) ...
         && joined(2).apodization_index == 0, 'profile of a disc');
end

function arrays()
  row = kestrel.linear_array(4, 0.5e-3, 10e-3, 0.6e-3, 'phase', [1 2 3 4]);
  centers = vertcat(row.center);
  expect(isequal(size(row), [1 4]), 'size of the row');
  expect_close(centers, [-0.9 0 0; -0.3 0 0; 0.3 0 0; 0.9 0 0] * 1e-3, 1e-15, 'places in the row');
  expect(isequal([row.phase], [1 2 3 4]) && isequal([row.amplitude], [1 1 1 1]), ...
         'weights per element');

  sheet = kestrel.planar_array([3 2], 1e-3, 2e-3, [1e-3 2e-3]);
  expect(isequal(size(sheet), [1 6]), 'size of the sheet');
  expect_close(vertcat(sheet.center), ...
               [-1 -1 0; 0 -1 0; 1 -1 0; -1 1 0; 0 1 0; 1 1 0] * 1e-3, 1e-15, ...
               'x runs fastest in the sheet');

  % What the angles do, as the help of kestrel.rectangle says.
  tilted = kestrel.detail.to_global([0; 0; 1], [0 0 0], [0.1 0 0]);
  expect(tilted(1) > 0 && abs(tilted(2)) < 1e-15, 'the first angle tilts towards +x');
  tilted = kestrel.detail.to_global([0; 0; 1], [0 0 0], [0 0.1 0]);
  expect(tilted(2) < 0 && abs(tilted(1)) < 1e-15, 'the second angle tilts towards -y');
  spun = kestrel.detail.to_global([1; 0; 0], [0 0 0], [0 0 0.1]);
  expect(spun(2) > 0 && abs(spun(3)) < 1e-15, 'the third angle spins about the axis');
end

function media()
  names = {'water', 'lossless', 'muscle', 'liver', 'fat'};
  fields = {'soundspeed', 'density', 'attenuationdBcmMHz', 'bloodperfusion', 'specificheat', ...
            'specificheatofblood', 'thermalconductivity', 'nonlinearityparameter', ...
            'powerlawexponent'};
  for i = 1:numel(names)
    medium = kestrel.medium(names{i});
    expect(isequal(sort(fieldnames(medium)), sort(fields(:))), 'fields of %s', names{i});
    expect(medium.soundspeed > 1400 && medium.soundspeed < 1600 && medium.density > 900 ...
           && medium.density < 1100, '%s is a fluid or soft tissue', names{i});
    expect((medium.attenuationdBcmMHz == 0) == strcmp(names{i}, 'lossless'), ...
           'only lossless has no attenuation: %s', names{i});
  end
  medium = kestrel.medium('Fat', 'density', 1, 'attenuationdBcmMHz', 2);
  expect(medium.density == 1 && medium.attenuationdBcmMHz == 2 && medium.soundspeed == 1430, ...
         'values put in');
  f0 = [1e6; 5e6];
  expected = 2 * pi * f0 / 1430 - 1j * 2 * 100 * f0 / 1e6 * log(10) / 20;
  expect(max(abs(kestrel.wavenumber(medium, f0) - expected)) < 1e-12 * abs(expected(1)), ...
         'wavenumber and attenuation at two frequencies');
end

% A call with fewer arguments than it takes says which ones those are, as its help does.
function missing_arguments()
  cases = {
    'rectangle', 2; 'circle', 1; 'ring', 2; 'shell', 2; 'shell_ring', 3; 'linear_array', 4
    'planar_array', 4; 'curved_array', 5; 'annular_array', 2; 'bowl_array', 4; 'focus', 4
    'focus_delays', 3; 'from_positions', 3; 'aim', 2; 'plane_wave_delays', 3; 'drive', 4
    'time_window', 4; 'grid_axes', 1; 'wavenumber', 2; 'steer', 4; 'apodize', 2; 'cw_field', 5
    'transient_field', 6; 'harmonics', 5; 'intensity', 2; 'beam_metrics', 2; 'show_field', 2
    'show_array', 1
  };
  for i = 1:size(cases, 1)
    name = ['kestrel.', cases{i, 1}];
    for given = 0:cases{i, 2} - 1
      list = num2cell(ones(1, given));
      message = outcome_of(@() feval(name, list{:}));
      verb = {'were', 'was'}{1 + (given == 1)};
      usage = regexp(message, ['^', strrep(name, '.', '\.'), ': expected \((.*)\), but there ', ...
                               verb, sprintf(' %d arguments?\.$', given)], 'tokens', 'once');
      expect(~isempty(usage), '%s with %d arguments: "%s"', name, given, message);
      names = strsplit(strrep(usage{1}, ', name, value, ...', ''), ', ');
      expect(numel(names) == cases{i, 2}, '%s takes %d arguments: "%s"', name, cases{i, 2}, message);
    end
  end
end

function refusals()
  water = kestrel.medium('water');
  rect = kestrel.rectangle(1e-3, 1e-3);
  no_width = [rect, rect];
  no_width(2).width = [];
  no_density = rmfield(water, 'density');
  grid = small_grid();
  expect_refusals('kestrel.wavenumber', {
    {no_density, 1e6}, 'the medium lacks the field ''density''.'
    {water, [1e6 0]}, 'f0 must be greater than 0.'
    {water, 1j}, 'f0 must be real and finite.'
  });
  expect_refusals('set_coordinate_grid', {
    {1, 2}, ...
      ['expected (delta, xmin, xmax, ymin, ymax, zmin, zmax) or (points), but there were 2 ' ...
       'arguments.']
    {[1 2]}, 'points must be an m-by-3 matrix of x, y and z in metres.'
    {[1 NaN 2]}, 'points must be real and finite.'
    {[1 2], 0, 1, 0, 1, 0, 1}, 'delta must have 1 or 3 entries, but it has 2.'
    {[1 -1 1], 0, 1, 0, 1, 0, 1}, 'delta must not be negative.'
    {1, 0, 1, 1, 0, 0, 1}, 'ymax must not be less than ymin.'
    {1, 0, [1 2], 0, 1, 0, 1}, 'xmax must be one real, finite number.'
  });
  expect_refusals('set_time_samples', {
    {1, 2}, 'expected (deltat, tmin, tmax) or (times), but there were 2 arguments.'
    {-1, 0, 1}, 'deltat must not be negative.'
    {1, 1, 0}, 'tmax must not be less than tmin.'
    {ones(2)}, 'times must be a vector of seconds.'
  });
  expect_refusals('kestrel.rectangle', {
    {0, 1}, 'width must be greater than 0.'
    {1, 1i}, 'height must be one real, finite number.'
    {1, 1, 'centre', [0 0 0]}, ...
      'unknown option ''centre''; the options are ''center'', ''euler'', ''amplitude'', ''phase''.'
    {1, 1, 'center'}, 'options come as name and value, but the last has no value.'
    {1, 1, 'center', [0 0]}, 'center must have 3 entries, but it has 2.'
  });
  expect_refusals('kestrel.ring', {
    {2, 1}, 'outer_radius must be greater than inner_radius.'
  });
  expect_refusals('kestrel.shell', {
    {2, 1}, ...
      'rad_curvature must not be less than the aperture''s radius (a cap is at most a hemisphere).'
  });
  expect_refusals('kestrel.linear_array', {
    {0, 1, 1, 1}, 'n must be a whole number of at least 1.'
  });
  expect_refusals('kestrel.planar_array', {
    {[2 2], 1, 1, [1 1], 'phase', [1 2]}, 'phase must have 1 or 4 entries, but it has 2.'
  });
  expect_refusals('kestrel.focus', {
    {rect, [0 0], water, 1e6}, 'point must have 3 entries, but it has 2.'
    {rect, ones(2), water, 1e6}, 'points must be an m-by-3 matrix of x, y and z in metres.'
    {rect, ones(2, 3), water, 1e6, 'pressure', [1 0]}, 'pressure must be greater than 0.'
    {rect, ones(2, 3), water, 1e6, 'amplitude', 'free'}, ...
      'amplitude must be one of ''keep'', ''set''.'
    {rect, [0 0 1], no_density, 1e6}, 'the medium lacks the field ''density''.'
  });
  expect_refusals('kestrel.apodize', {
    {[rect, rect], 'boxcar'}, ...
      ['window must be one of ''rect'', ''cosine'', ''hann'', ''hamming'', ''blackman'', ' ...
       '''tukey'', ''gauss''.']
    {[rect, rect], [1 2 3]}, 'window must have 2 entries, but it has 3.'
    {kestrel.planar_array([3 2], 1, 1, [1 1]), {'hann', [1 2 3]}}, ...
      'window 2 must have 2 entries, one for each place, but it has 3.'
    {rect, {'hann'}}, 'a cell array of windows must have two, for x and for y.'
  });
  expect_refusals('kestrel.annular_array', {
    {[0 1], 1}, 'inner_radii and outer_radii must have one entry per ring, but they have 2 and 1.'
    {[0 2], [1 2]}, 'outer_radius must be greater than inner_radius.'
    {0, 2, 'rad_curvature', 1}, ...
      'rad_curvature must not be less than the aperture''s radius (a cap is at most a hemisphere).'
  });
  expect_refusals('kestrel.bowl_array', {
    {3, 1e-3, 2e-3, 1e-3}, ...
      'rad_curvature must not be less than the aperture''s radius (a cap is at most a hemisphere).'
    {3, 1e-3, 10e-3, 20e-3, 'inner_radius', 10e-3}, ...
      'inner_radius must be less than aperture_radius.'
  });
  expect_refusals('kestrel.circle', {
    {1, 'apodization_index', 5}, ...
      ['apodization_index must be 0 (uniform), 1 (cosine), 2 (raised cosine), 3 (quadratic) ' ...
       'or 4 (quartic).']
  });
  expect_refusals('kestrel.join', {
    {}, 'expected at least one array.'
    {rect, 1}, ...
      'array 2: the array must be a structure array of elements, as kestrel.rectangle returns.'
  });
  plane = set_coordinate_grid(1, 0, 2, 0, 0, 0, 3);
  expect_refusals('kestrel.show_field', {
    {ones(3, 1, 4, 5), plane}, ...
      ['the grid has 3 by 1 by 4 points, but p has 60 values: of its 5 fields pick one, ' ...
       'as p(:, :, :, 2).']
    {ones(3, 1, 8), plane}, 'the grid has 3 by 1 by 4 points, but p has 24 values.'
  });
  expect_refusals('kestrel.medium', {
    {'mercury'}, 'the name must be one of ''water'', ''lossless'', ''muscle'', ''liver'', ''fat''.'
    {'water', 'density', 0}, 'density must be greater than 0.'
  });
  expect_refusals('kestrel.cw_field', {
    {1, grid, water, 8, 1e6}, ...
      'the array must be a structure array of elements, as kestrel.rectangle returns.'
    {no_width, grid, water, 8, 1e6}, 'element 2: width must be one real, finite number.'
    {rect, rmfield(grid, 'zmax'), water, 8, 1e6}, 'the grid lacks the field ''zmax''.'
    {rect, struct('coordinates', [1 2]), water, 8, 1e6}, ...
      'the grid''s coordinates must be an m-by-3 matrix.'
    {rect, grid, water, 0.5, 1e6}, 'ndiv must be a whole number of at least 1.'
    {rect, grid, water, 8, -1}, 'f0 must be greater than 0.'
    {rect, grid, water, {}, 1e6, 'tolerance', 1e-3}, 'ndiv must be one real, finite number.'
  });
  marches();
end

% Arguments of the nonlinear methods, and what counts as left out.
function marches()
  water = kestrel.medium('water');
  piston = kestrel.circle(8e-3);
  point = set_coordinate_grid([0 0 30e-3]);
  pulse = set_excitation_function(2, 1, 1e6, 3e-6, 0);
  time = set_time_samples(0.1e-6, 20e-6, 21e-6);
  calls = {   % the list of arguments, and the fields that KZK may have
    'kestrel.cw_field', @(ndiv, kzk) {piston, point, water, ndiv, 1e6, 'method', 'kzk_cw', ...
                                      'kzk', kzk}, 'step, radial_step, radius, harmonics, harmonic.'
    'kestrel.transient_field', @(ndiv, kzk) {piston, point, water, time, ndiv, pulse, 'method', ...
                                             'kzk_transient', 'kzk', kzk}, ...
      'step, radial_step, radius, samples, guard.'
    'kestrel.harmonics', @(ndiv, kzk) {piston, point, water, 1e6, 1, 'kzk', kzk}, ...
      'step, radial_step, radius, harmonics, harmonic.'
  };
  for i = 1:3
    [name, list, fields] = calls{i, :};
    for kzk = {{}, '', struct([]), 3, 'fine'}
      expect_refusals(name, {
        list([], kzk{1}), ...
          ['the option ''kzk'' must be one structure with some of the fields ', fields]
      });
    end
    march = struct('radial_step', 0.05, 'radius', 3);
    p = feval(name, list([], march){:});
    march.step = [];
    expect(isequal(feval(name, list([], march){:}), p), '%s: [] is the default', name);
    if i < 3
      expect(isequal(feval(name, list(8, march){:}), p), '%s: ndiv does not count', name);
      expect_refusals(name, {
        list('8', []), 'ndiv must be one real, finite number.'
        list({}, []), 'ndiv must be one real, finite number.'
        list(0.5, []), 'ndiv must be a whole number of at least 1.'
      });
    end
  end
  [~, info] = feval(name, list([], march){:});   % of kestrel.harmonics
  expect(isequal(fieldnames(info).', {'method', 'time', 'threads', 'instruction_set', ...
                                      'memory', 'result_memory', 'planes', 'radial_nodes', ...
                                      'harmonics'}), ...
         'only what means something for a march');
end

% Every public function shows its own help text: a summary, then how to call it.
function help_texts()
  folder = fileparts(which('set_coordinate_grid'));
  files = [dir(fullfile(folder, '*.m')); dir(fullfile(folder, '+kestrel', '*.m'))];
  prefixes = [repmat({''}, 1, numel(dir(fullfile(folder, '*.m')))), ...
              repmat({'kestrel.'}, 1, numel(dir(fullfile(folder, '+kestrel', '*.m'))))];
  contents = get_help_text('kestrel.Contents');
  for i = 1:numel(files)
    [~, name] = fileparts(files(i).name);
    if strcmp(name, 'Contents')
      continue
    end
    full = [prefixes{i}, name];
    text = get_help_text(full);
    first = regexp(text, '^\s*([A-Z_]+)  (\S[^\n]*\.)\n', 'tokens', 'once');
    expect(~isempty(first) && strcmp(first{1}, upper(name)), 'help of %s starts with its name', full);
    expect(~isempty(strfind(text, [full, '('])), 'help of %s shows how to call it', full);
    expect(~isempty(strfind(text, 'See also')), 'help of %s points further', full);
    expect(~isempty(regexp(contents, ['  ', full, ' +- '], 'once')), '%s stands in Contents.m', full);
  end
end
