function [angles, euler] = check_direction(caller, angles, euler)
%CHECK_DIRECTION  The angles of a direction, theta and phi, and of the frame that they are meant in.
  if isnumeric(angles) && isscalar(angles)
    angles = [angles, 0];
  end
  angles = kestrel.detail.check_vector(caller, 'angles', angles, 2);
  kestrel.detail.check_units(caller, 'rad', 'an angle', angles);
  if ~isempty(euler)
    euler = kestrel.detail.check_vector(caller, 'euler', euler, 3);
  end
end
