% What is warned of, once a call and in one line: values in other units than the toolbox's, and
% what a calculation leaves out.
function warnings_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  liver = kestrel.medium('liver');
  water = kestrel.medium('water');
  point = set_coordinate_grid([0 0 20e-3]);
  time = set_time_samples(14e-6);
  pulse = set_excitation_function(2, 1, 1e6, 3e-6, 0);
  row = kestrel.linear_array(4, 1e-3, 2e-3, 2e-3);
  phased = kestrel.focus(row, [0 0 20e-3], water, 1e6);
  delayed = kestrel.focus_delays(row, [0 0 20e-3], water);
  both = kestrel.focus_delays(phased, [0 0 20e-3], water);
  alike = row;
  [alike.phase] = deal(1, 1 + 2 * pi, 1 - 2 * pi, 1);
  sent = @(array, medium, varargin) @() ...
         kestrel.transient_field(array, point, medium, time, 8, pulse, varargin{:});
  wave = @(array) @() kestrel.cw_field(array, point, water, 8, 1e6);
  % Even about its first sample; with a zero before it no line is lost.
  even = repmat([-1 0 1 0], 1, 3);
  sampled = @(signal) @() kestrel.transient_field(row, point, water, time, 8, ...
                      set_excitation_function(signal, 0.25e-6, numel(signal) * 0.25e-6, 0));
  units = 'kestrel:units';
  cases = {
    sampled(even), '', 'negative lines of its real spectrum are left out; put a zero before it'
    sampled([0 even]), '', ''
    sent(row, liver), 'kestrel:lossless', '''fnm_tsd'' leaves out the medium''s attenuation of 0.45 dB'
    sent(row, liver, 'method', 'impulse_response'), 'kestrel:lossless', '''impulse_response'''
    sent(row, water), '', ''   % its loss is a hundredth of that
    sent(phased, water), 'kestrel:weights', 'kestrel.focus_delays'
    sent(delayed, water), '', ''
    sent(both, water), '', ''
    sent(alike, water), '', ''
    wave(delayed), 'kestrel:weights', 'kestrel.focus'
    wave(both), '', ''
    wave(row), '', ''
    @() kestrel.shell(63, 64), units, 'kestrel.shell: radius is 63 m'
    @() kestrel.shell(63e-3, 64), '', ''   % nearly flat
    @() kestrel.linear_array(64, 0.5, 10, 0.6), units, 'height is 10 m'
    @() kestrel.linear_array(64, 0.5, 0.5, 0.6), units, 'the position of an element is -18.9 m'
    @() kestrel.rectangle(1e-3, 1e-3, 'euler', [30 0 0]), units, 'euler is 30 rad'
    @() kestrel.planar_array([2 2], 1e-3, 1e-3, [1 1], 'euler', [0 0 90]), units, 'euler is 90 rad'
    @() kestrel.rectangle(1e-3, 1e-3, 'center', [0 -40 0]), units, 'center is -40 m'
    @() kestrel.steer(row, 20, water, 1e6), units, 'an angle is 20 rad'
    @() kestrel.focus(row, [0 0 40], water, 1e6), units, '40 m'
    @() kestrel.focus(row, [0 0 40e-3], water, 1), units, 'f0 is 1 Hz'
    @() kestrel.cw_field(row, point, water, 8, 2.5), units, 'f0 is 2.5 Hz'
    @() set_coordinate_grid(0.2, -20, 20, 0, 0, 1, 60), units, 'a bound is -20 m'
    @() set_coordinate_grid([0 0 60]), units, '60 m'
    @() set_excitation_function(1, 1, 5, 3e-6, 0), units, 'f0 is 5 Hz'
    @() set_excitation_function(1, 1, 0, 3e-6, 0), '', ''
  };
  for i = 1:size(cases, 1)
    [call, identifier, pattern] = cases{i, :};
    lastwarn('', '');
    [message, printed] = outcome_of(call);
    [~, found] = lastwarn();
    expect(isempty(message), 'case %d: error "%s"', i, message);
    expect(strcmp(found, identifier), 'case %d: "%s" instead of "%s"', i, found, identifier);
    told = ~isempty(strfind(printed, pattern)) && numel(strfind(printed, char(10))) == 1;
    expect(told || (isempty(pattern) && isempty(printed)), 'case %d printed "%s"', i, printed);
  end

  % One line from the compiled part too, and the settings are as before, also after an error.
  narrow = @() kestrel.harmonics(kestrel.circle(1e-3), point, water, 1e6, 1);
  [~, printed] = outcome_of(narrow);
  expect(~isempty(strfind(printed, 'ka below 10')) && isempty(strfind(printed, 'called from')), ...
         'printed "%s"', printed);
  outcome_of(@() kestrel.cw_field(5, point, water, 8, 1e6));
  state = warning('query', 'backtrace');
  expect(strcmp(state.state, 'on'), 'warnings tell where they come from again');
end
