% kestrel.transient_field and kestrel.focus_delays: closed form, delays, what is refused.

addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
medium = kestrel.medium('lossless');
c = medium.soundspeed;
impedance = medium.density * c;
hanning = set_excitation_function(2, 0.7, 1e6, 3e-6, 0);
v = @(t) 0.7 * (1 - cos(2*pi*t/3e-6)) .* sin(2*pi*1e6*t) .* (t > 0 & t < 3e-6);

% On the axis of a disc: the wave from its face and, inverted, that from its edge.
a = 6e-3;
z = (5e-3:5e-3:40e-3).';
axis_points = set_coordinate_grid([zeros(numel(z), 2), z]);
time = set_time_samples(20e-9, 0, 33e-6);
t = (0:1650) * 20e-9;
expected = impedance * (v(t - z / c) - v(t - hypot(z, a) / c));
for method = {'fnm_tsd', 'fnm_transient', 'fnm_fdtsd'}
  [p, info] = kestrel.transient_field(kestrel.circle(a), axis_points, medium, time, 8, hanning, ...
                                      'method', method{1});
  assert(isreal(p) && isequal(size(p), [numel(z), numel(t)]));
  assert(max(abs(p(:) - expected(:))) <= 1e-12 * max(abs(expected(:))));
  assert(info.method, method{1});
end

% A delay shifts, an amplitude scales.
late = kestrel.circle(a);
late.time_delay = 2.5e-6;
late.amplitude = -3;
p = kestrel.transient_field(late, axis_points, medium, time, 8, hanning);
expected = -3 * impedance * (v(t - 2.5e-6 - z / c) - v(t - 2.5e-6 - hypot(z, a) / c));
assert(max(abs(p(:) - expected(:))) <= 1e-12 * max(abs(expected(:))));

% Shapes of results, threads, one excitation per element.
grid = set_coordinate_grid([1e-3 2e-3 4e-3], -4e-3, 4e-3, -2e-3, 2e-3, 8e-3, 20e-3);
short = set_time_samples(0.2e-6, 4e-6, 18e-6);
pair = [kestrel.rectangle(2e-3, 5e-3), kestrel.ring(2e-3, 4e-3)];
both = kestrel.transient_field(pair, grid, medium, short, 12, hanning, 'threads', 1);
assert(size(both), [9 3 4 71]);
assert(isequal(both, kestrel.transient_field(pair, grid, medium, short, 12, hanning, 'threads', 3)));
tone = set_excitation_function(1, 1, 0.5e6, 4e-6, 0);
own = kestrel.transient_field(pair, grid, medium, short, 12, [hanning; tone]);
apart = kestrel.transient_field(pair(1), grid, medium, short, 12, hanning) ...
        + kestrel.transient_field(pair(2), grid, medium, short, 12, tone);
assert(max(abs(own(:) - apart(:))) <= 1e-13 * max(abs(own(:))));
listed = [18 4 9] * 1e-6;
text = evalc('some = kestrel.transient_field(pair, grid, medium, set_time_samples(listed), 12, hanning);');
assert(isempty(text), text);
assert(max(max(max(max(abs(some - both(:, :, :, [71 1 26])))))) <= 1e-12 * max(abs(both(:))));
nothing = kestrel.transient_field(pair([]), grid, medium, short, 12, hanning);
assert(isequal(nothing, zeros(size(both))));

% A sampled signal is the pulse that it samples.
samples = (0:149) * 20e-9;
signal = set_excitation_function(v(samples), 20e-9, 3e-6, 0);
p = kestrel.transient_field(pair, grid, medium, short, 12, signal);
assert(max(abs(p(:) - both(:))) <= 1e-6 * max(abs(both(:))));

% Delayed pulses meet at the focus: there, and only there, all peaks add.
array = kestrel.linear_array(16, 0.4e-3, 4e-3, 0.8e-3);
focus = [3e-3 0 25e-3];
focused = kestrel.focus_delays(array, focus, medium);
centers = reshape([array.center], 3, []);
arrival = [focused.time_delay] + sqrt(sum((centers - focus.') .^ 2)) / c;
assert(min([focused.time_delay]), 0);
assert(max(arrival) - min(arrival) <= 1e-18 / 1e-6);
peaks = @(array, point) max(abs(kestrel.transient_field(array, set_coordinate_grid(point), medium, ...
                                                        time, 16, hanning)));
alone = sum(arrayfun(@(element) peaks(element, focus), focused));
assert(peaks(focused, focus) >= 0.99 * alone);
assert(peaks(array, focus) <= 0.7 * alone);
assert(peaks(focused, [-3e-3 0 25e-3]) <= 0.5 * alone);
rings = kestrel.focus_delays(kestrel.annular_array([0 4.1e-3 6.1e-3], [4e-3 6e-3 8e-3]), ...
                             [0 0 30e-3], medium);
assert(all(diff([rings.time_delay]) < 0) && rings(3).time_delay == 0);
phases = kestrel.focus(array, focus, medium, 1e6);
delayed = kestrel.focus_delays(phases, focus, medium);
assert([delayed.phase], [phases.phase]);

% Refused: the texts of the time axis and of the excitation come through as they are.
bad_time = @(varargin) {pair, grid, medium, struct(varargin{:}), 12, hanning};
bad_drive = @(drive) {pair, grid, medium, short, 12, drive};
late(1).time_delay = NaN;
by = @(name) {pair, grid, medium, short, 12, hanning, 'method', name};
expect_refused('kestrel.transient_field', {   % arguments, error, printed before it
  by('fnm_cw'), ['unknown method ''fnm_cw''; the methods are ''fnm_transient'', ' ...
    '''fnm_transient_behind_source'', ''fnm_tsd'', ''fnm_tsd_low_precision'', ''fnm_tsd_sse'', ' ...
    '''fnm_tsd_behind_source'', ''fnm_fdtsd'', ''rayleigh_transient'', ''impulse_response'', ''kzk_transient''.'], ''
  by('rayleigh_transient'), 'element 1: the shape ''rect'' has no method ''rayleigh_transient''', ''
  by(3), 'method must be', ''
  {pair, grid, medium, short, 12, hanning, 'reuse', 1}, 'unknown option ''reuse''', ''
  {pair, grid, medium, short, [], hanning}, 'ndiv must be', ''
  {pair, grid, medium, 5, 12, hanning}, 'the time must be', ''
  {late, grid, medium, short, 12, hanning}, 'element 1: time_delay must be', ''
  bad_time('tmin', 0), ['The required Matlab structure is generated by set_time_samples - see the ' ...
    'documentation or the online help for details'], 'Expecting ''tmax'', but this field is not defined'
  bad_time('tmin', 1, 'tmax', 0, 'deltat', 1), 'tmax - tmin must be greater than or equal to 0.', ...
    'Input value of tmax - tmin is -1'
  bad_drive(5), 'The excitation function must be a structure made by set_excitation_function.', ''
  bad_drive([tone; tone; tone]), ['Excitation function must have either exactly one row or one ' ...
    'row per element.'], ''
  bad_drive([tone; setfield(tone, 'pulse_width', 'long')]), '''pulse_width'' of element 2', ''
  bad_drive(rmfield(signal, 'clip_threshold')), '''clip_threshold'' of the excitation function', ''
  bad_drive(setfield(signal, 'signal', [1 2i])), '''signal''', ''
});
expect_refused('kestrel.focus_delays', {
  {5, focus, medium}, 'structure array of elements'
  {array, [1 2], medium}, 'point must have 3 entries'
  {array, focus, 5}, 'the medium must be'
});

% All compiled names but the plug-in's stay inside the package.
assert(exist('transient_field'), 0);
