% Shock at a focus: a shell of 30 mm diameter and 60 mm radius of curvature at 1.5 MHz in water, at
% rising drive levels: harmonics 1 to 5 on the axis and the pressure at the focus over time, beside
% the linear field (dashed), and the harmonics' beams at the strongest drive.
%
% Leaves shock_focus.png and shock_beams.png in the current folder.

f0 = 1.5e6;
shell = kestrel.shell(15e-3, 60e-3);
medium = kestrel.medium('water', 'attenuationdBcmMHz', 0.0022 * 1.5);   % water's, at 1.5 MHz
impedance = medium.density * medium.soundspeed;
drives = [30e3 110e3 400e3];                                            % Pa at the face
march = struct('harmonics', 120);

z = 25:0.2:95;                                                          % mm
axis_grid = set_coordinate_grid([0 0 0.2e-3], 0, 0, 0, 0, 25e-3, 95e-3);
linear = kestrel.cw_field(shell, axis_grid, medium, 60, f0);
linear = linear(:) / impedance;                                         % per pascal at the face
[~, focus] = max(abs(linear));
there = set_coordinate_grid([0 0 1e-3 * z(focus)]);
turn = linspace(0, 2, 801);                                             % periods

if exist('OCTAVE_VERSION', 'builtin')
  warning('off', 'Octave:gnuplot-graphics');
  graphics_toolkit('gnuplot');   % draws without a display
end
picture = figure('visible', 'off', 'paperunits', 'inches', 'paperposition', [0 0 11 6]);
colours = [0 0.45 0.70; 0.84 0.37 0; 0 0.62 0.45; 0.80 0.47 0.65; 0.34 0.71 0.91];   % of harmonics
for i = 1:3
  shell.amplitude = drives(i) / impedance;
  p = reshape(kestrel.harmonics(shell, axis_grid, medium, f0, 1:5, 'kzk', march), [], 5);
  axes('position', [0.065 + 0.29 * (i - 1), 0.59, 0.215, 0.34]);
  lines = semilogy(z, 1e-6 * abs(p), z, 1e-6 * drives(i) * abs(linear), '--k');
  set(lines(1:5), 'linewidth', 3);
  set(lines(1:5), {'color'}, num2cell(colours, 2));
  axis([25 95 1e-4 10]);
  xlabel('depth (mm)');
  ylabel('harmonics 1 to 5 (MPa)');
  title(sprintf('%g kPa at the face', drives(i) / 1e3));

  % Over time the sum of all harmonics.
  series = kestrel.harmonics(shell, there, medium, f0, 1:120, 'kzk', march);
  wave = 1e-6 * real(series * exp(2j * pi * (1:120).' * turn));
  linear_peak = 1e-6 * drives(i) * linear(focus);
  axes('position', [0.065 + 0.29 * (i - 1), 0.1, 0.215, 0.34]);
  lines = plot(turn, wave, turn, real(linear_peak * exp(2j * pi * turn)), '--k');
  set(lines(1), 'color', colours(1, :), 'linewidth', 3);
  xlabel('time (periods)');
  ylabel('at the focus (MPa)');
  fprintf(['%3g kPa: at the focus %+.2f and %.2f MPa, linear %.2f MPa; ' ...
           'harmonics 2 to 5 %.0f, %.0f, %.0f, %.0f %% of the first\n'], drives(i) / 1e3, ...
          max(wave), min(wave), abs(linear_peak), ...
          100 * abs(series(2:5) / series(1)));
end
% One legend for all, beside them.
axes('position', [0.88, 0.59, 0.1, 0.34], 'visible', 'off');
names = {'first', 'second', 'third', 'fourth', 'fifth', 'linear (dashed)'};
inks = [colours; 0 0 0];
for n = 1:6
  text(0.1, 1 - 0.13 * n, names{n}, 'color', inks(n, :), 'fontweight', 'bold');
end
print(picture, 'shock_focus.png', '-dpng', '-r125');
close(picture);

% The beams at the strongest drive: higher harmonics are narrower and have lower side lobes.
grid = set_coordinate_grid([0.2e-3 0 0.5e-3], -9e-3, 9e-3, 0, 0, 30e-3, 90e-3);
beams = abs(squeeze(kestrel.harmonics(shell, grid, medium, f0, 1:4, 'kzk', march)));
picture = figure('visible', 'off', 'paperunits', 'inches', 'paperposition', [0 0 8 8.4]);
for n = 1:4
  place = [0.09, 1.02 - 0.235 * n, 0.76, 0.155];
  axes('position', place);
  panel = kestrel.show_field(beams(:, :, n), grid, 'title', sprintf('Harmonic %d', n), ...
                             'colorbar', false);
  if n < 4
    xlabel(panel, '');
  end
end
bar = colorbar(panel);   % one for all, as all have the same range
set(panel, 'position', place);
set(bar, 'position', [0.885, place(2), 0.025, 0.705 + place(4)]);
ylabel(bar, 'pressure, dB re the peak of each harmonic');
print(picture, 'shock_beams.png', '-dpng', '-r125');
close(picture);

% Checks: a weak drive against the linear field, which is exact on the axis; and the march in time,
% which knows no harmonics: at the focus the ninth period of a burst, which has settled by then.
weak = kestrel.shell(15e-3, 60e-3, 'amplitude', 1e-3);
p = kestrel.cw_field(weak, axis_grid, medium, [], f0, 'method', 'kzk_cw');
difference = max(abs(p(:) / (1e-3 * impedance) - linear)) / max(abs(linear));
fprintf('check: weak drive %.1e of the peak from the linear field, allowed 5e-3\n', difference);

t = 1e-3 * z(focus) / medium.soundspeed + 8 / f0 + (0:200) / (200 * f0);
time = set_time_samples(1 / (200 * f0), t(1), t(end));
burst = set_excitation_function(1, 1, f0, 12 / f0, 0);
pulse = kestrel.transient_field(shell, there, medium, time, [], burst, ...
                                'method', 'kzk_transient', 'kzk', struct('samples', 200));
lines = 2 * mean(pulse(1:200) .* exp(-2j * pi * f0 * [1; 2] * t(1:200)), 2).';
apart = abs(lines) ./ abs(series(1:2)) - 1;
fprintf('check: harmonics 1, 2 of a burst %+.1e, %+.1e from the series, allowed 3e-2\n', apart);
if ~(difference <= 5e-3 && all(abs(apart) <= 3e-2))
  error('the nonlinear beam is off');
end
