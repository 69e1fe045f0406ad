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
picture = figure('visible', 'off', 'paperunits', 'inches', 'paperposition', [0 0 9 6]);
for i = 1:3
  shell.amplitude = drives(i) / impedance;
  p = reshape(kestrel.harmonics(shell, axis_grid, medium, f0, 1:5, 'kzk', march), [], 5);
  subplot(2, 3, i);
  semilogy(z, 1e-6 * drives(i) * abs(linear), '--k', z, 1e-6 * abs(p));
  axis([25 95 1e-6 * drives(i) * [2e-3 20]]);
  xlabel('depth (mm)');
  title(sprintf('%g kPa at the face', drives(i) / 1e3));
  if i == 1
    ylabel('harmonics 1 to 5 (MPa)');
    legend('linear', 'location', 'southeast');
  elseif i == 3
    at = 175:25:275;
    text(z(at), 1.2e-6 * abs(p(sub2ind(size(p), at, 1:5))), num2cell('12345'));
  end

  % Over time the sum of all harmonics.
  series = kestrel.harmonics(shell, there, medium, f0, 1:120, 'kzk', march);
  wave = 1e-6 * real(series * exp(2j * pi * (1:120).' * turn));
  linear_peak = 1e-6 * drives(i) * linear(focus);
  subplot(2, 3, 3 + i);
  plot(turn, real(linear_peak * exp(2j * pi * turn)), '--k', turn, wave);
  xlabel('time (periods)');
  if i == 1
    ylabel('at the focus (MPa)');
  end
  fprintf(['%3g kPa: at the focus %+.2f and %.2f MPa, linear %.2f MPa; ' ...
           'harmonics 2 to 5 %.0f, %.0f, %.0f, %.0f %% of the first\n'], drives(i) / 1e3, ...
          max(wave), min(wave), abs(linear_peak), ...
          100 * abs(series(2:5) / series(1)));
end
print(picture, 'shock_focus.png', '-dpng', '-r125');
close(picture);

% The beams at the strongest drive: higher harmonics are narrower and have lower side lobes.
grid = set_coordinate_grid([0.2e-3 0 0.5e-3], -9e-3, 9e-3, 0, 0, 30e-3, 90e-3);
beams = abs(squeeze(kestrel.harmonics(shell, grid, medium, f0, 1:4, 'kzk', march)));
picture = figure('visible', 'off', 'paperunits', 'inches', 'paperposition', [0 0 9 5]);
for n = 1:4
  subplot(1, 4, n);
  imagesc([-9 9], [30 90], 20 * log10(beams(:, :, n) / max(max(beams(:, :, n)))).', [-40 0]);
  xlabel('x (mm)');
  title(sprintf('harmonic %d', n));
end
colormap(gray(64));
subplot(1, 4, 1);
ylabel('depth (mm), -40 to 0 dB');
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
