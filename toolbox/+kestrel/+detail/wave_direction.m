function direction = wave_direction(caller, array, angles, euler)
%WAVE_DIRECTION  Unit vector (row) of the angles [theta phi], or theta, in an array's frame.
  if isnumeric(angles) && isscalar(angles)
    angles = [angles, 0];
  end
  angles = kestrel.detail.check_vector(caller, 'angles', angles, 2);
  kestrel.detail.check_units(caller, 'rad', 'an angle', angles);
  direction = [sin(angles(1)) * [cos(angles(2)), sin(angles(2))], cos(angles(1))] ...
              * kestrel.detail.array_frame(caller, array, euler);
end
