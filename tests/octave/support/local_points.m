function [x, y, z] = local_points(element, points)
%LOCAL_POINTS  Points in the frame of an element, turned about y, then x, then z.
  s = sin(element.euler);
  c = cos(element.euler);
  r = [c(1)*c(3) + s(1)*s(2)*s(3), c(2)*s(3), c(1)*s(2)*s(3) - s(1)*c(3);
       s(1)*s(2)*c(3) - c(1)*s(3), c(2)*c(3), s(1)*s(3) + c(1)*s(2)*c(3);
       s(1)*c(2), -s(2), c(1)*c(2)];
  local = (points - element.center) * r.';
  x = local(:, 1);
  y = local(:, 2);
  z = local(:, 3);
end
