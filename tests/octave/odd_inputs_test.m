% Arguments, options and fields of odd classes and shapes: every refusal is the toolbox's own, with
% an identifier and the name of a function of the toolbox, and what is taken comes back in doubles.
function odd_inputs_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  units = warning('query', 'kestrel:units');
  warning('off', 'kestrel:units');
  restore = onCleanup(@() warning(units));
  m = kestrel.medium('water');
  a = kestrel.linear_array(3, 1e-3, 1e-3, 2e-3);
  g = set_coordinate_grid(1e-3, 0, 2e-3, 0, 0, 1e-3, 2e-3);
  e = set_excitation_function(1, 1, 1e6, 1e-6, 0);
  placing = {'center', [0 0 0], 'euler', [0 0 0], 'amplitude', 1, 'phase', 0};
  % Function, arguments that are right, options that are.
  cases = {
    'set_coordinate_grid', {1e-3, 0, 1e-3, 0, 1e-3, 0, 1e-3}, {}
    'set_coordinate_grid', {[1 2 3]}, {}
    'set_time_samples', {1e-7, 0, 1e-6}, {}
    'set_time_samples', {[1 2 3]}, {}
    'set_excitation_function', {1, 1, 1e6, 1e-6, 0}, {}
    'set_excitation_function', {[1 2 3 4], 1e-6, 1e-6, 0}, {}
    'kestrel.rectangle', {1e-3, 1e-3}, placing
    'kestrel.circle', {1e-3}, {'apodization_index', 1}
    'kestrel.ring', {1e-3, 2e-3}, {}
    'kestrel.shell', {1e-3, 2e-3}, {}
    'kestrel.shell_ring', {1e-3, 2e-3, 3e-3}, {}
    'kestrel.linear_array', {3, 1e-3, 1e-3, 2e-3}, placing
    'kestrel.planar_array', {[2 2], 1e-3, 1e-3, [2e-3 2e-3]}, {}
    'kestrel.curved_array', {3, 1e-3, 1e-3, 2e-3, 1}, {}
    'kestrel.annular_array', {[0 2e-3], [1e-3 3e-3]}, {'rad_curvature', 1}
    'kestrel.bowl_array', {3, 1e-3, 10e-3, 20e-3}, {'inner_radius', 1e-3, 'apodization_index', 0}
    'kestrel.from_positions', {kestrel.circle(1e-3), [0 0 0; 1 1 1], [0 0 1]}, placing
    'kestrel.aim', {a, [0 0 1]}, {}
    'kestrel.join', {a, a}, {}
    'kestrel.focus', {a, [0 0 1e-2], m, 1e6}, {'amplitude', 'keep', 'pressure', 1}
    'kestrel.focus_delays', {a, [0 0 1e-2], m}, {}
    'kestrel.plane_wave_delays', {a, [0.1 0], m}, {'euler', [0 0 0]}
    'kestrel.steer', {a, 0.1, m, 1e6}, {'euler', [0 0 0]}
    'kestrel.apodize', {a, 'hann'}, {'along', 'xy', 'euler', [0 0 0]}
    'kestrel.apodize', {a, {'hann', 'hann'}}, {}
    'kestrel.drive', {a, m, 'power', 1}, {}
    'kestrel.time_window', {a, g, m, e}, {'samples', 20}
    'kestrel.grid_axes', {g}, {}
    'kestrel.medium', {'water'}, {'density', 1000}
    'kestrel.wavenumber', {m, 1e6}, {}
    'kestrel.intensity', {1, m}, {}
    'kestrel.cw_field', {a, g, m, 4, 1e6}, {'method', 'fnm_cw', 'tolerance', 1e-3, 'threads', 1, ...
                                            'reuse', true, 'memory', 1e6, 'kzk', []}
    'kestrel.transient_field', {a, g, m, set_time_samples(1e-6), 4, e}, {'method', 'fnm_tsd'}
  };
  odd = {[], {}, 'x', ones(2), NaN, -1, 1i, [1 2], [1; 2; 3], sparse(1), sparse([1 0 2]), ...
         int8([1 2 3]), uint64(2^63), true, {1, 'x'}, struct('a', {1, 2}), struct('a', {}), ...
         containers.Map('a', 1), @sin, 1e300, 1.5, ['ab'; 'cd'], a([]), repmat(m, 1, 2)};
  for i = 1:size(cases, 1)
    [name, right, options] = cases{i, :};
    for j = 1:numel(odd)
      for k = 1:numel(right)
        list = right;
        list{k} = odd{j};
        tried(name, list, j, sprintf('argument %d', k));
        for field = fields_of(right{k})
          list = right;
          list{k}(end).(field{1}) = odd{j};
          tried(name, list, j, field{1});
        end
      end
      for k = 1:2:numel(options)
        tried(name, [right, options(k), odd(j)], j, options{k});
      end
      if ~isempty(options)
        tried(name, [right, odd(j), {1}], j, 'the name of an option');
        tried(name, [right, odd(j)], j, 'an option without a value');
      end
    end
  end

  expect_refusals('kestrel.linear_array', {
    {1e300, 1, 1, 1}, 'an array has at most 1000000 elements, not 1e+300.'
  });
  expect_error(@() kestrel.linear_array(2, 1, {1}, 1), ...
               'kestrel.rectangle: height must be one real, finite number.');
  expect_refusals('kestrel.cw_field', {
    {a, g, m, 1e6, 16}, 'ndiv must be at most 10000, but it is 1e+06: are ndiv and f0 swapped?'
    {a, g, setfield(m, 'soundspeed', 0), 4, 1e6}, 'soundspeed must be greater than 0.'
    {a, g, setfield(m, 'density', -1), 4, 1e6}, 'density must be greater than 0.'
  });
  expect_refusals('kestrel.transient_field', {
    {a, g, m, set_time_samples(0), 10001, e}, 'ndiv must be at most 10000, but it is 10001.'
    {a, g, setfield(m, 'soundspeed', -1), set_time_samples(0), 4, e}, ...
      'soundspeed must be greater than 0.'
  });
  expect_refusals('kestrel.harmonics', {
    {kestrel.circle(1e-2), g, setfield(m, 'density', 0), 1e6, 1}, 'density must be greater than 0.'
  });
  % A number is one in whatever class it comes.
  p = kestrel.cw_field(a, g, m, 4, 1e6);
  medium = m;
  medium.soundspeed = sparse(m.soundspeed);
  expect(isequal(kestrel.cw_field(a, g, medium, sparse(4), single(1e6)), p), 'sparse and single');
end

% Fields whose values are looked at one by one; the first and the last of a structure will do.
function names = fields_of(value)
  names = {};
  if isstruct(value)
    names = fieldnames(value).';
    names = names(ismember(names, {'shape', 'width', 'center', 'soundspeed', 'delta', ...
                                   'zmax', 'pulse_width'}));
  end
end

function tried(name, list, number, where)
  what = sprintf('%s, %s, odd value %d', name, where, number);
  result = [];
  try
    evalc('result = feval(name, list{:});');   % progress and warnings are not shown
  catch problem
    expect(strncmp(problem.identifier, 'kestrel:', 8) ...
           && ~isempty(regexp(problem.message, '^(kestrel\.|set_)\w+: ', 'once')), ...
           '%s: [%s] %s', what, problem.identifier, problem.message);
  end
  if isstruct(result) && strncmp(where, 'argument', 8)
    for field = fieldnames(result).'
      values = {result.(field{1})};
      expect(all(cellfun(@(v) ~isnumeric(v) || (isa(v, 'double') && ~issparse(v)), values)), ...
             '%s: the field %s is no full double', what, field{1});
    end
  end
end
