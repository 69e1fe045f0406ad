% Steered planar array in space: 32 by 32 elements of 0.5 mm by 0.5 mm at 1 MHz, pitch 0.6 mm,
% steered 25 degrees off its normal, towards x and half as much towards y.
%
% Leaves planar_array_steering.png in the current folder.

f0 = 1e6;
medium = kestrel.medium('lossless');
angles = [25, atan2(1, 2) * 180 / pi] * pi / 180;
array = kestrel.planar_array([32 32], 0.5e-3, 0.5e-3, [0.6e-3 0.6e-3]);
array = kestrel.steer(array, angles, medium, f0);

% A million points: elements that are equal share one field on a grid like this.
grid = set_coordinate_grid([0.6e-3 0.6e-3 0.6e-3], -18e-3, 42e-3, -18e-3, 42e-3, 1.2e-3, 61.2e-3);
[p, info] = kestrel.cw_field(array, grid, medium, 8, f0);
fprintf('%d elements, %d points, %.2f s (%s)\n', numel(array), numel(p), info.time, info.way);
kestrel.show_field(p, grid, 'range', [-30 0], 'at', [16.8e-3 8.4e-3 40.2e-3], ...
                   'title', '32 by 32 elements, steered by 25 degrees', ...
                   'file', 'planar_array_steering.png');

% Check: at 50 m, where the aperture's depth of field is far behind, the pattern has a closed
% form: that of one element, sin(u)/u per axis, times that of the lattice, sin(32 v)/(32 sin v).
[theta, phi] = ndgrid(linspace(0, 85, 60) * pi / 180, linspace(-pi, pi, 60));
direction = [sin(theta(:)) .* cos(phi(:)), sin(theta(:)) .* sin(phi(:)), cos(theta(:))];
r = 50;
earlier = warning('off', 'kestrel:units');   % 50 m are meant
far = kestrel.cw_field(array, set_coordinate_grid(r * direction), medium, 8, f0);
warning(earlier);
k = real(kestrel.wavenumber(medium, f0));
wanted = sin(angles(1)) * [cos(angles(2)), sin(angles(2))];
expected = k * 1.5e6 / (2 * pi * r) * 32^2 * 0.5e-3^2 * ones(size(far));
for d = 1:2
  u = k * 0.25e-3 * direction(:, d) + 1e-12;
  v = k * 0.3e-3 * (direction(:, d) - wanted(d)) + 1e-12;
  expected = expected .* abs(sin(u) ./ u .* sin(32 * v) ./ (32 * sin(v)));
end
difference = max(abs(abs(far) - expected)) / max(expected);
fprintf('check: %.1e of the peak from the closed form of the far field, allowed 1e-3\n', ...
        difference);
if ~(difference <= 1e-3)
  error('the far field is off');
end
