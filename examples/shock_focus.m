% Shock at a focus: a shell of 30 mm diameter and 60 mm radius of curvature at 1.5 MHz in water, at
% rising drive levels, by the nonlinear (KZK) march: the harmonics 1 to 5 on the axis beside the
% linear field, and the pressure at the focus over time as it grows its shock; the strongest one also
% as a burst marched in time. The harmonics' beams at the strongest drive.
%
% Leaves shock_focus.png and shock_beams.png in the current folder.

f0 = 1.5e6;
a = 15e-3;
radius = 60e-3;
medium = kestrel.medium('water', 'attenuationdBcmMHz', 0.0022 * 1.5);   % water's, at 1.5 MHz
impedance = medium.density * medium.soundspeed;
drives = [30e3 110e3 400e3];                                            % Pa at the face
march = struct('harmonics', 120);

axis_grid = set_coordinate_grid([0 0 0.2e-3], 0, 0, 0, 0, 25e-3, 95e-3);
z = 25:0.2:95;
linear = kestrel.cw_field(kestrel.shell(a, radius), axis_grid, medium, 60, f0);
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
  element = kestrel.shell(a, radius, 'amplitude', drives(i) / impedance);
  p = reshape(kestrel.harmonics(element, axis_grid, medium, f0, 1:5, 'kzk', march), [], 5);
  subplot(2, 3, i);
  semilogy(z, 1e-6 * drives(i) * abs(linear), '--k', z, 1e-6 * abs(p));
  axis([25 95 1e-6 * drives(i) * [2e-3 20]]);
  xlabel('depth (mm)');
  title(sprintf('%g kPa at the face', drives(i) / 1e3));
  if i == 1
    ylabel('harmonics 1 to 5 (MPa)');
    legend('linear', 'location', 'southeast');
  elseif i == 3
    for n = 1:5
      at = 150 + 25 * n;
      text(z(at), 1.2e-6 * abs(p(at, n)), sprintf('%d', n));
    end
  end

  % Over time the sum of all harmonics.
  series = kestrel.harmonics(element, there, medium, f0, 1:120, 'kzk', march);
  wave = real(series * exp(2j * pi * (1:120).' * turn));
  subplot(2, 3, 3 + i);
  plot(turn, 1e-6 * drives(i) * real(linear(focus) * exp(2j * pi * turn)), '--k', ...
       turn, 1e-6 * wave);
  xlabel('time (periods)');
  if i == 1
    ylabel('at the focus (MPa)');
  end
  fprintf(['%3g kPa: at the focus %+.2f and %.2f MPa, linear %.2f MPa; ' ...
           'harmonics 2 to 5 %.0f, %.0f, %.0f, %.0f %% of the first\n'], drives(i) / 1e3, ...
          1e-6 * max(wave), 1e-6 * min(wave), 1e-6 * drives(i) * abs(linear(focus)), ...
          100 * abs(series(2:5) / series(1)));
end
print(picture, 'shock_focus.png', '-dpng', '-r125');
close(picture);

% The beams at the strongest drive: higher harmonics are narrower and have lower side lobes.
grid = set_coordinate_grid([0.2e-3 0 0.5e-3], -9e-3, 9e-3, 0, 0, 30e-3, 90e-3);
beams = squeeze(kestrel.harmonics(element, grid, medium, f0, 1:4, 'kzk', march));
picture = figure('visible', 'off', 'paperunits', 'inches', 'paperposition', [0 0 9 5]);
for n = 1:4
  subplot(1, 4, n);
  level = 20 * log10(abs(beams(:, :, n)) / max(max(abs(beams(:, :, n)))));
  imagesc([-9 9], [30 90], level.', [-40 0]);
  colormap(gray(64));
  xlabel('x (mm)');
  title(sprintf('harmonic %d', n));
  if n == 1
    ylabel('depth (mm), -40 to 0 dB');
  end
end
print(picture, 'shock_beams.png', '-dpng', '-r125');
close(picture);

% Check: a weak drive on the axis against the linear field, which is exact there.
weak = kestrel.shell(a, radius, 'amplitude', 1e-3);
p = kestrel.cw_field(weak, axis_grid, medium, [], f0, 'method', 'kzk_cw');
difference = max(abs(p(:) / (1e-3 * impedance) - linear)) / max(abs(linear));
fprintf('check: weak drive %.1e of the peak from the linear field, allowed 5e-3\n', difference);

% Check: the march in time knows no harmonics. A burst long enough to settle, at the focus.
cycles = 12;
burst = set_excitation_function(1, 1, f0, cycles / f0, 0);
arrival = 1e-3 * z(focus) / medium.soundspeed;
time = set_time_samples(1 / (200 * f0), arrival + 8 / f0, arrival + 10 / f0);
pulse = kestrel.transient_field(element, there, medium, time, [], burst, ...
                                'method', 'kzk_transient', 'kzk', struct('samples', 200));
t = arrival + 8 / f0 + (0:numel(pulse) - 1) / (200 * f0);
whole = 1:200;
first = 2 * mean(pulse(whole) .* exp(-2j * pi * f0 * t(whole)));
second = 2 * mean(pulse(whole) .* exp(-4j * pi * f0 * t(whole)));
apart = [abs(first) / abs(series(1)) - 1, abs(second) / abs(series(2)) - 1];
fprintf('check: harmonics 1 and 2 of a burst %+.1e and %+.1e from the series, allowed 3e-2\n', apart);
if ~(difference <= 5e-3 && all(abs(apart) <= 3e-2))
  error('the nonlinear beam is off');
end
