function r = rotation_matrix(euler)
%ROTATION_MATRIX  Takes a global direction into an element's frame.
%   R = Rz(euler(3)) Rx(euler(2)) Ry(euler(1)), rotations of the frame: first
%   about y, then about x, then about z. local = R * (p - center) as columns.
  s = sin(euler);
  c = cos(euler);
  ry = [c(1) 0 -s(1); 0 1 0; s(1) 0 c(1)];
  rx = [1 0 0; 0 c(2) s(2); 0 -s(2) c(2)];
  rz = [c(3) s(3) 0; -s(3) c(3) 0; 0 0 1];
  r = rz * rx * ry;
end
