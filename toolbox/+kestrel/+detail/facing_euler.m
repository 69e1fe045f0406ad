function angles = facing_euler(directions, spin)
%FACING_EULER  Angles (rows) of elements whose faces look along DIRECTIONS (rows).
%   SPIN, one number or one for each, is the third angle, about the element's own axis.
  across = hypot(directions(:, 1), directions(:, 3));
  angles = [atan2(directions(:, 1), directions(:, 3)), -atan2(directions(:, 2), across), ...
            spin(:) .* ones(size(across))];
end
