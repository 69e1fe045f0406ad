% Field of a focused linear array: 64 elements of 0.5 mm by 10 mm at a pitch of 0.6 mm,
% focused at a depth of 40 mm, 1 MHz, in water with the attenuation of soft tissue.
%
% Run it with the folder build/toolbox on the path. It leaves two pictures, field.png and
% array.png, in the current folder; `make demo` runs it in build/demo.

f0 = 1e6;
medium = kestrel.medium('water', 'attenuationdBcmMHz', 0.5);
array = kestrel.linear_array(64, 0.5e-3, 10e-3, 0.6e-3);
array = kestrel.focus(array, [0 0 40e-3], medium, f0);

% The plane y = 0 with 201 by 201 points.
grid = set_coordinate_grid([40e-3 / 200, 0, 59.5e-3 / 200], -20e-3, 20e-3, 0, 0, 0.5e-3, 60e-3);

% The longer side of an element, in wavelengths, sets the number of nodes; with 8 more than
% twice that, the error of the integrals is below 1e-6 of the peak.
wavelength = medium.soundspeed / f0;
ndiv = ceil(2 * 10e-3 / wavelength) + 8;

tic;
p = kestrel.cw_field(array, grid, medium, ndiv, f0);
seconds = toc;

[peak, index] = max(abs(p(:)));
[ix, ~, iz] = ind2sub(size(p), index);
fprintf('time:          %.3f s for %d elements at %d points, %d nodes\n', ...
        seconds, numel(array), numel(p), ndiv);
fprintf('peak pressure: %.4g Pa for a face velocity of 1 m/s\n', peak);
fprintf('peak at:       x = %.1f mm, z = %.1f mm\n', ...
        1e3 * (grid.xmin + (ix - 1) * grid.delta(1)), ...
        1e3 * (grid.zmin + (iz - 1) * grid.delta(3)));

kestrel.show_field(p, grid, 'title', '64 elements focused at 40 mm, 1 MHz', 'file', 'field.png');
kestrel.show_array(array, 'title', '64 elements of 0.5 mm by 10 mm', 'file', 'array.png');
fprintf('pictures:      %s, %s\n', fullfile(pwd, 'field.png'), fullfile(pwd, 'array.png'));
