% Annular array focused at several depths: 8 rings of equal area, 30 mm in diameter, 2 MHz.
%
% Leaves annular_array_depths.png in the current folder.

f0 = 2e6;
depths = [20 35 55 80] * 1e-3;
medium = kestrel.medium('lossless');
outer = 15e-3 * sqrt((1:8) / 8);
inner = [0, outer(1:7) + 0.1e-3];
array = kestrel.annular_array(inner, outer);

grid = set_coordinate_grid([0.15e-3 0 0.3e-3], -7.5e-3, 7.5e-3, 0, 0, 5e-3, 110e-3);
axis_grid = set_coordinate_grid([0 0 0.1e-3], 0, 0, 0, 0, 5e-3, 110e-3);
z = (5:0.1:110) * 1e-3;
k = real(kestrel.wavenumber(medium, f0));

if exist('OCTAVE_VERSION', 'builtin')
  warning('off', 'Octave:gnuplot-graphics');
  graphics_toolkit('gnuplot');   % draws without a display
end
picture = figure('visible', 'off', 'paperunits', 'inches', 'paperposition', [0 0 8 7.2]);
worst = 0;
for i = 1:numel(depths)
  focused = kestrel.focus(array, [0 0 depths(i)], medium, f0);
  place = [0.09, 1.04 - 0.235 * i, 0.76, 0.15];
  axes('position', place);
  panel = kestrel.show_field(kestrel.cw_field(focused, grid, medium, 64, f0), grid, ...
                             'title', sprintf('Focus at %g mm', 1e3 * depths(i)), ...
                             'colorbar', false);
  if i < numel(depths)
    xlabel(panel, '');
  end

  % Check: on the axis a ring has the closed form rho c (exp(-jk Ri) - exp(-jk Ro)), with the
  % distances to its edges; a disc is a ring whose inner radius is 0.
  p = kestrel.cw_field(focused, axis_grid, medium, 64, f0);
  expected = zeros(size(z));
  for n = 1:8
    expected = expected + 1.5e6 * exp(1j * focused(n).phase) ...
                          * (exp(-1j * k * hypot(z, inner(n))) - exp(-1j * k * hypot(z, outer(n))));
  end
  worst = max(worst, max(abs(p(:).' - expected)) / max(abs(expected)));
  beam = kestrel.beam_metrics(p, axis_grid, 'source_pressure', 1.5e6);
  fprintf('focus at %2.0f mm: peak at %.1f mm, gain %.1f, %.1f mm long at -6 dB\n', ...
          1e3 * depths(i), 1e3 * beam.place(3), beam.gain, 1e3 * beam.width_6db(3));
end
bar = colorbar(panel);   % one for all, as all have the same range
set(panel, 'position', place);
set(bar, 'position', [0.885, place(2), 0.025, 0.705 + place(4)]);
ylabel(bar, 'pressure, dB re the peak of each field');
print(picture, 'annular_array_depths.png', '-dpng', '-r125');
close(picture);
fprintf('check: %.1e of the peak from the closed form on the axis, allowed 1e-9\n', worst);
if ~(worst <= 1e-9)
  error('the field on the axis is off');
end
