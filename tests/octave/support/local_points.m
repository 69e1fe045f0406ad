function [x, y, z] = local_points(element, points)
%LOCAL_POINTS  Points in the frame of an element, in doubles.
%   Products and sums one by one, in the order that the method lays down: a matrix
%   product may fuse or reorder them.
  s = sin(element.euler);
  c = cos(element.euler);
  r = [c(1)*c(3) + s(1)*s(2)*s(3), c(2)*s(3), c(1)*s(2)*s(3) - s(1)*c(3);
       s(1)*s(2)*c(3) - c(1)*s(3), c(2)*c(3), s(1)*s(3) + c(1)*s(2)*c(3);
       s(1)*c(2), -s(2), c(1)*c(2)];
  dx = points(:, 1) - element.center(1);
  dy = points(:, 2) - element.center(2);
  dz = points(:, 3) - element.center(3);
  x = r(1, 1) * dx + r(1, 2) * dy + r(1, 3) * dz;
  y = r(2, 1) * dx + r(2, 2) * dy + r(2, 3) * dz;
  z = r(3, 1) * dx + r(3, 2) * dy + r(3, 3) * dz;
end
