% Convex array, as in abdominal imaging: 96 elements of 0.45 mm by 12 mm on an arc of 50 mm radius
% at 2.5 MHz. Three groups of 32 neighbours send three beams of the sector.
%
% Leaves curved_array_sector.png and curved_array.png in the current folder.

f0 = 2.5e6;
medium = kestrel.medium('muscle');
array = kestrel.curved_array(96, 0.45e-3, 12e-3, 0.5e-3, -50e-3);
grid = set_coordinate_grid([0.25e-3 0 0.25e-3], -45e-3, 45e-3, 0, 0, -12e-3, 90e-3);
ndiv = 46;   % 12 mm are 19 wavelengths: 2 times that and 8 more for 1e-6

% Each beam is focused 60 mm in front of its group.
field = 0;
for first = [1 33 65]
  part = array(first:first + 31);
  turn = ((first + 15.5) - 48.5) * 0.5e-3 / 50e-3;
  focus = (50e-3 + 60e-3) * [sin(turn), 0, cos(turn)] - [0 0 50e-3];
  part = kestrel.focus(kestrel.apodize(part, {'hann', 'rect'}), focus, medium, f0);
  field = field + abs(kestrel.cw_field(part, grid, medium, ndiv, f0));
end
% Behind the plane of its face an element has no field: there the outer beams' side lobes end.
kestrel.show_field(field, grid, 'title', 'Three beams of a convex array, magnitudes added', ...
                   'file', 'curved_array_sector.png');
kestrel.show_array(array, 'view', [-20 25], 'file', 'curved_array.png');

% Check: the Rayleigh integral over the faces with 60 by 60 nodes on each element. In an
% attenuating medium the fast nearfield method gives it times 1 - j alpha / k.
points = set_coordinate_grid([focus; 20e-3 0 10e-3; 35e-3 4e-3 30e-3; 30e-3 0 60e-3]);
p = kestrel.cw_field(part, points, medium, ndiv, f0);
integral = kestrel.cw_field(part, points, medium, 60, f0, 'method', 'rayleigh_cw');
k = kestrel.wavenumber(medium, f0);
difference = max(abs(p - k / real(k) * integral)) / max(abs(integral));
fprintf('check: %.1e of the peak from the Rayleigh integral, allowed 1e-6\n', difference);
if ~(difference <= 1e-6)
  error('the field is off');
end
