% Focused pulse of a linear array: 32 elements, 1.5 MHz, two and a half cycles, in water without
% loss, as four pictures of the pressure in space, and the pressure at the focus against time; with
% a piston's pulse on its axis beside its closed form.
%
% Leaves focused_pulse.png in the current folder.

medium = kestrel.medium('lossless');
c = medium.soundspeed;
width = 2.5 / 1.5e6;
pulse = set_excitation_function(2, 0.5, 1.5e6, width, 0);   % 0.5 (1 - cos) sin: peak 1 m/s
focus = [4e-3 0 30e-3];
array = kestrel.linear_array(32, 0.5e-3, 8e-3, 0.6e-3);
focused = kestrel.focus_delays(array, focus, medium);

% The pictures: where the pulse is when it has to go so far yet to the focus.
arrival = max(sqrt(sum((reshape([array.center], 3, []) - focus.') .^ 2))) / c;
to_go = [20 10 0 -8] * 1e-3;
moments = arrival + width / 2 - to_go / c;
grid = set_coordinate_grid([0.2e-3 0 0.2e-3], -11e-3, 11e-3, 0, 0, 2e-3, 44e-3);
p = zeros(111, 211, numel(moments));
for i = 1:numel(moments)
  now = set_time_samples(0, moments(i), moments(i));
  p(:, :, i) = squeeze(kestrel.transient_field(focused, grid, medium, now, 40, pulse));
end
if exist('OCTAVE_VERSION', 'builtin')
  warning('off', 'Octave:gnuplot-graphics');
  graphics_toolkit('gnuplot');   % draws without a display
end
picture = figure('visible', 'off', 'paperunits', 'inches', 'paperposition', [0 0 8 8]);
for i = 1:numel(moments)
  place = [0.085 + 0.41 * mod(i - 1, 2), 0.745 - 0.295 * (i > 2), 0.34, 0.205];
  axes('position', place);
  panel = kestrel.show_field(p(:, :, i), grid, 'scale', 'signed', 'range', [-2e6 2e6], ...
                             'title', sprintf('After %.1f us', 1e6 * moments(i)), ...
                             'colorbar', false);
  if mod(i, 2) == 0
    ylabel(panel, '');
  end
end
bar = colorbar(panel);   % one for all, as all have the same range
set(panel, 'position', place);
set(bar, 'position', [0.875, place(2), 0.025, 0.5]);
ylabel(bar, 'pressure (MPa)');

% The pressure at the focus, with the delays and without.
time = set_time_samples(10e-9, 10e-6, 30e-6);
t = (0:2000) * 10e-9 + 10e-6;
there = set_coordinate_grid(focus);
with_delays = kestrel.transient_field(focused, there, medium, time, 24, pulse);
without = kestrel.transient_field(array, there, medium, time, 24, pulse);
axes('position', [0.085, 0.075, 0.4, 0.24]);
lines = plot(1e6 * t, 1e-6 * with_delays, '-k', 1e6 * t, 1e-6 * without, '-r');
set(lines, 'linewidth', 3);
axis([17 27 -6 6]);
legend('focused', 'not focused', 'location', 'northwest');
title('At the focus');
xlabel('time (us)');
ylabel('pressure (MPa)');
fprintf('at the focus: peak %.2f MPa at %.2f us, without delays %.2f MPa\n', ...
        1e-6 * max(abs(with_delays)), 1e6 * t(abs(with_delays) == max(abs(with_delays))), ...
        1e-6 * max(abs(without)));

% Check: on the axis of a piston, rho c [v(t - z/c) - v(t - sqrt(z^2 + a^2)/c)]: the wave from the
% face and, inverted, that from the edge.
a = 8e-3;
z = 20e-3;
v = @(t) 0.5 * (1 - cos(2 * pi * t / width)) .* sin(2 * pi * 1.5e6 * t) .* (t > 0 & t < width);
numeric = kestrel.transient_field(kestrel.circle(a), set_coordinate_grid([0 0 z]), medium, time, ...
                                  24, pulse);
expected = medium.density * c * (v(t - z / c) - v(t - hypot(z, a) / c));
axes('position', [0.575, 0.075, 0.4, 0.24]);
some = 1:8:numel(t);
plot(1e6 * t, 1e-6 * numeric, '-k', 1e6 * t(some), 1e-6 * expected(some), 'or', 'markersize', 3);
axis([12.5 20 -2 2]);
legend('computed', 'closed form');
title('Piston, 20 mm on its axis');
xlabel('time (us)');
ylabel('pressure (MPa)');
print(picture, 'focused_pulse.png', '-dpng', '-r125');
close(picture);

difference = max(abs(numeric - expected)) / max(abs(expected));
fprintf('check: %.1e of the peak from the closed form on the axis, allowed 1e-12\n', difference);
if ~(difference <= 1e-12)
  error('the pulse on the axis is off');
end
