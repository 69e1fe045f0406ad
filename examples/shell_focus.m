% Focused bowl: one spherically curved element of 64 mm diameter and 63 mm radius of curvature
% at 1 MHz, in water, against the closed form on its axis.
%
% Leaves shell_focus.png and shell_axis.png in the current folder.

f0 = 1e6;
a = 32e-3;
radius = 63e-3;
medium = kestrel.medium('water');
element = kestrel.shell(a, radius);

grid = set_coordinate_grid([0.25e-3 0 0.25e-3], -20e-3, 20e-3, 0, 0, 10e-3, 100e-3);
p = kestrel.cw_field(element, grid, medium, 100, f0);
kestrel.show_field(p, grid, 'title', 'Spherical shell, 1 MHz', 'file', 'shell_focus.png');

axis_grid = set_coordinate_grid([0 0 0.1e-3], 0, 0, 0, 0, 10e-3, 100e-3);
z = (10:0.1:100) * 1e-3;
p = reshape(kestrel.cw_field(element, axis_grid, medium, 100, f0), size(z));
kestrel.show_field(p, axis_grid, 'scale', 'linear', 'title', 'On the axis', ...
                   'file', 'shell_axis.png');
impedance = medium.density * medium.soundspeed;
focus = kestrel.beam_metrics(p, axis_grid, 'source_pressure', impedance);
fprintf('peak at %.2f mm, %.2f mm before the centre of curvature; gain %.1f; %.2f mm long\n', ...
        1e3 * focus.place(3), 1e3 * (radius - focus.place(3)), focus.gain, ...
        1e3 * focus.width_6db(3));

% Check: rho c (exp(-qz) - exp(-q r)) / (1 - z / radius) with q = alpha + jk and the distance r to
% the rim; at the centre of curvature, where both vanish, its limit with the depth h of the bowl.
q = 1j * kestrel.wavenumber(medium, f0);
h = radius - sqrt(radius^2 - a^2);
expected = impedance * (exp(-q * z) - exp(-q * hypot(z - h, a))) ./ (1 - z / radius);
centre = abs(z - radius) < 1e-9;
expected(centre) = impedance * 1j * imag(q) * h * exp(-q * radius);
difference = max(abs(p(~centre) - expected(~centre))) / max(abs(expected));
fprintf('check: %.1e of the peak from the closed form on the axis, allowed 1e-9\n', difference);
at_centre = abs(p(centre) / expected(centre) - 1);
fprintf('check: %.1e of the value at the centre of curvature, allowed 1e-9\n', at_centre);
if ~(difference <= 1e-9 && at_centre <= 1e-9)
  error('the field on the axis is off');
end
