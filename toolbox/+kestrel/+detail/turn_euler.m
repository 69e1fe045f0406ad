function euler = turn_euler(inner, outer)
%TURN_EULER  Angles of an element with the angles INNER in a frame with the angles OUTER.
%   Where one of the two is not turned, the angles of the other come back as they are:
%   elements that look the same way keep equal angles, to the last bit.
  if all(inner == 0)
    euler = outer;
    return
  elseif all(outer == 0)
    euler = inner;
    return
  end
  r = kestrel.detail.rotation_matrix(inner) * kestrel.detail.rotation_matrix(outer);
  % Rows of Rz(e3) Rx(e2) Ry(e1): the third is (s1 c2, -s2, c1 c2), and the second column is
  % (c2 s3, c2 c3, -s2).
  c2 = hypot(r(3, 1), r(3, 3));
  if c2 > 1e-12
    euler = [atan2(r(3, 1), r(3, 3)), atan2(-r(3, 2), c2), atan2(r(1, 2), r(2, 2))];
  else
    % The face looks along -y or +y: turns about y and about z are the same; all goes to z.
    euler = [0, atan2(-r(3, 2), c2), atan2(-r(2, 1), r(1, 1))];
  end
end
