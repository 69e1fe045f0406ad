% Bowl for hyperthermia: 256 discs on a sphere of 120 mm radius, 120 mm across, 1 MHz, in muscle.
% Intensity and -6 dB ellipsoid at the centre of the sphere, then two foci at once.
%
% Leaves four pictures hyperthermia_*.png in the current folder.

f0 = 1e6;
n = 256;
radius = 120e-3;
medium = kestrel.medium('muscle');
array = kestrel.bowl_array(n, 2.8e-3, 60e-3, radius, 'amplitude', 0.05);   % m/s
kestrel.show_array(array, 'title', '256 discs facing the centre', 'file', 'hyperthermia_bowl.png');

grid = set_coordinate_grid([0.25e-3 0.25e-3 1e-3], -4e-3, 4e-3, -4e-3, 4e-3, 104e-3, 136e-3);
p = kestrel.cw_field(array, grid, medium, 12, f0);
kestrel.show_field(p, grid, 'isosurface', -6, 'file', 'hyperthermia_ellipsoid.png');
i = kestrel.intensity(p, medium);
kestrel.show_field(i / 1e4, grid, 'scale', 'linear', 'label', 'intensity (W/cm^2)', ...
                   'title', 'Intensity at the focus', 'file', 'hyperthermia_intensity.png');
beam = kestrel.beam_metrics(p, grid, 'source_pressure', medium.density * medium.soundspeed * 0.05);
axes_mm = 1e3 * beam.lobe_width_6db;
fprintf('largest intensity %.0f W/cm^2 at z = %.1f mm; gain %.0f\n', max(i(:)) / 1e4, ...
        1e3 * beam.place(3), beam.gain);
fprintf('-6 dB: %.2f by %.2f by %.1f mm, %.1f mm^3 (an ellipsoid: %.1f); ', axes_mm, ...
        1e9 * beam.volume_6db, pi / 6 * prod(axes_mm));
fprintf('highest lobe outside %.1f dB\n', beam.outside_db);

foci = [-5e-3 0 radius; 5e-3 0 radius];
plane = set_coordinate_grid([0.25e-3 0 0.5e-3], -15e-3, 15e-3, 0, 0, 100e-3, 140e-3);
two = kestrel.cw_field(kestrel.focus(array, foci, medium, f0), plane, medium, 12, f0);
kestrel.show_field(two, plane, 'title', 'Two foci', 'file', 'hyperthermia_two_foci.png');

% Check: the centre of the sphere lies on the axis of every disc, at the same distance; so the
% pressure is n times the closed form rho c v (exp(-q R) - exp(-q sqrt(R^2 + a^2))), q = alpha + jk.
p0 = kestrel.cw_field(array, set_coordinate_grid([0 0 radius]), medium, 12, f0);
q = 1j * kestrel.wavenumber(medium, f0);
expected = n * medium.density * medium.soundspeed * 0.05 ...
           * (exp(-q * radius) - exp(-q * hypot(radius, 2.8e-3)));
difference = abs(p0 / expected - 1);
fprintf('check: %.1e from the closed form at the centre, allowed 1e-9\n', difference);
if ~(difference <= 1e-9)
  error('the pressure at the centre is off');
end
