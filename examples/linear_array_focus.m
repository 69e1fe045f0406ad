% Focused linear array: 64 elements of 0.25 mm by 8 mm at 3 MHz, pitch 0.3 mm, focused beside
% the axis at a depth of 30 mm, with and without a window that lowers the side lobes.
%
% Leaves linear_array_focus.png and linear_array_window.png in the current folder.

f0 = 3e6;
focus = [4e-3 0 30e-3];
medium = kestrel.medium('liver');
array = kestrel.linear_array(64, 0.25e-3, 8e-3, 0.3e-3);
array = kestrel.focus(array, focus, medium, f0);
windowed = kestrel.apodize(array, {'hamming', 'rect'});

grid = set_coordinate_grid([0.1e-3 0 0.2e-3], -12e-3, 12e-3, 0, 0, 2e-3, 60e-3);
ndiv = 40;   % 8 mm are 15 wavelengths: 2 times that and 8 more for 1e-6
p = kestrel.cw_field(array, grid, medium, ndiv, f0);
q = kestrel.cw_field(windowed, grid, medium, ndiv, f0);
kestrel.show_field(p, grid, 'title', 'Rectangular window', 'file', 'linear_array_focus.png');
kestrel.show_field(q, grid, 'title', 'Hamming window', 'file', 'linear_array_window.png');

% The beam at the depth of the focus.
line = set_coordinate_grid([0.1e-3 0 0], -12e-3, 12e-3, 0, 0, focus(3), focus(3));
for window = {array, 'rectangular'; windowed, 'Hamming'}.'
  beam = kestrel.beam_metrics(kestrel.cw_field(window{1}, line, medium, ndiv, f0), line);
  fprintf('%-12s peak at x = %.2f mm, %.2f mm wide at -6 dB, side lobes at %.1f dB\n', ...
          window{2}, 1e3 * beam.place(1), 1e3 * beam.width_6db(1), beam.side_lobe_db(1));
end

% Check: the Rayleigh integral over the faces with 48 by 48 nodes on each element, at points near
% and far. In an attenuating medium the fast nearfield method gives it times 1 - j alpha / k.
points = set_coordinate_grid([focus; 0 0 3e-3; -5e-3 1e-3 12e-3; 11e-3 -3e-3 45e-3; 4e-3 0 60e-3]);
integral = kestrel.cw_field(array, points, medium, 48, f0, 'method', 'rayleigh_cw');
k = kestrel.wavenumber(medium, f0);
difference = max(abs(kestrel.cw_field(array, points, medium, ndiv, f0) ...
                     - k / real(k) * integral)) / max(abs(integral));
fprintf('check: %.1e of the peak from the Rayleigh integral, allowed 1e-6\n', difference);
if ~(difference <= 1e-6)
  error('the field is off');
end
