% A toolbox that is not whole, and memory that does not suffice: an error each time, with an
% identifier and a text that says what to do.
function installation_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  toolbox = fileparts(which('set_coordinate_grid'));
  scratch = tempname();
  mkdir(scratch);
  remove = onCleanup(@() rmdir_all(scratch));

  % Folders: the sources alone, beside a finished toolbox or not; an installed toolbox from which
  % a compiled function was removed, or in which it is damaged.
  sources = fullfile(scratch, 'root', 'toolbox');
  bare = fullfile(scratch, 'bare', 'toolbox');
  gaps = fullfile(scratch, 'gaps');
  broken = fullfile(scratch, 'broken');
  built = fullfile(scratch, 'root', 'build', 'toolbox');
  mkdir(fullfile(scratch, 'root'));
  mkdir(fullfile(scratch, 'bare'));
  mkdir(fullfile(scratch, 'root', 'build'));
  folders = {sources, bare, gaps, broken, built};
  for i = 1:numel(folders)
    copyfile(toolbox, folders{i});
  end
  for folder = {sources, bare}
    write(fullfile(fileparts(folder{1}), 'CMakeLists.txt'), '');
    for name = plugins()
      delete(fullfile(folder{1}, name{1}));
    end
  end
  for name = plugins()
    delete(fullfile(gaps, name{1}));
    write(fullfile(broken, name{1}), 'not a library');
  end

  use = '/%s/toolbox holds the sources, [^\n]* add [^\n]*/%s/build/toolbox instead%s';
  of_root = sprintf(use, 'root', 'root', '\.');
  of_bare = sprintf(use, 'bare', 'bare', ' after "make toolbox" in [^\n]*/bare\.');
  cases = {sources, 'kestrel:installation', of_root, of_root
           bare, 'kestrel:installation', of_bare, of_bare
           gaps, 'kestrel:installation', '/gaps/[^\n]*_field\.mex is missing\.', 'mex is missing'
           broken, 'kestrel:field', '/broken/[^\n]*_field\.mex: failed to load', 'failed to load'};
  for i = 1:size(cases, 1)
    [folder, identifier, pattern, tail] = cases{i, :};
    printed = child(folder, call_all());
    for name = {'kestrel.cw_field', 'kestrel.transient_field', 'kestrel.harmonics'}
      expect(~isempty(regexp(printed, ['\[', identifier, ' ', name{1}, ': [^\n]*', pattern], ...
                             'once')), 'case %d, %s: "%s"', i, name{1}, printed);
    end
    expect(~isempty(regexp(printed, ['fnm_cw_single[^\n]*', tail], 'once')) ...
           && isempty(strfind(printed, 'nothing thrown')), 'case %d: "%s"', i, printed);
    printed = child(folder, 'exit(kestrel.selftest())');
    expect(~isempty(regexp(printed, ['^FAILED: the compiled functions are there .*', pattern], ...
                           'once')) ...
           && numel(regexp(printed, '\.mex|sources')) >= 3 && numel(strfind(printed, 'FAILED')) == 1 ...
           && ~isempty(strfind(printed, 'kestrel is not installed properly')), ...
           'case %d, selftest: "%s"', i, printed);
  end

  % 8e15 bytes: more than a process can address.
  rect = kestrel.rectangle(1e-3, 1e-3);
  grid = set_coordinate_grid(1e-3, 0, 0.999, 0, 0.999, 0, 0.999);
  time = set_time_samples(1e-9, 0, 1e-3);
  drive = set_excitation_function(1, 1, 1e6, 1e-6, 0);
  refused(@() kestrel.transient_field(rect, grid, kestrel.medium('lossless'), time, 2, drive), ...
          'kestrel:field', 'kestrel.transient_field: .*memory');
  [~, text] = system(['ulimit -v 4000000; ', command(toolbox, [ ...
    'try, p = kestrel.cw_field(kestrel.circle(1e-3), ' ...
    'set_coordinate_grid(1e-3, 0, 0.7, 0, 0.7, 0, 0.7), kestrel.medium(''water''), 2, 1e6), ' ...
    'catch e, disp([e.identifier, '' '', e.message]), end'])]);
  expect(~isempty(regexp(text, '^kestrel:field kestrel.cw_field: .*memory', 'once')), ...
         'a field of 5 GB in 4 GB: "%s"', text);
end

function names = plugins()
  names = {['fnm_cw_single.', mexext()], fullfile('+kestrel', '+detail', ['array_field.', mexext()]), ...
           fullfile('+kestrel', '+detail', ['transient_field.', mexext()])};
end

% A program that calls each compiled function and prints "[identifier text]" of its error.
function text = call_all()
  text = ['g = set_coordinate_grid([0 0 1e-2]); r = kestrel.rectangle(1e-3, 1e-3); ' ...
          'c = kestrel.circle(1e-2); m = kestrel.medium(''lossless''); ' ...
          'e = set_excitation_function(1, 1, 1e6, 1e-6, 0); ' ...
          'calls = {@() kestrel.cw_field(r, g, m, 2, 1e6), ' ...
          '@() kestrel.transient_field(r, g, m, set_time_samples(0), 2, e), ' ...
          '@() kestrel.harmonics(c, g, m, 1e6, 1), @() feval(''fnm_cw_single'', r, g, m, 2, 1e6)}; ' ...
          'for i = 1:4, try, p = calls{i}(); disp(''nothing thrown''); ' ...
          'catch f, printf(''[%s %s]\n'', f.identifier, f.message); end, end'];
end

function printed = child(folder, program)
  [~, printed] = system([command(folder, program), ' 2>&1']);
end

function text = command(folder, program)
  text = sprintf('octave-cli --norc --no-history --quiet --path "%s" --eval "%s"', folder, ...
                 strrep(program, '"', '\"'));
end

function write(name, text)
  file = fopen(name, 'w');
  fprintf(file, '%s', text);
  fclose(file);
end

function refused(action, identifier, pattern)
  try
    result = action();
  catch problem
    expect(strcmp(problem.identifier, identifier) ...
           && ~isempty(regexp(problem.message, pattern, 'once')), ...
           'identifier "%s", text "%s"', problem.identifier, problem.message);
    return
  end
  error('nothing thrown');
end

function rmdir_all(folder)
  confirm_recursive_rmdir(false, 'local');
  rmdir(folder, 's');
end
