function points = check_points(caller, name, points)
%CHECK_POINTS  Rows of x, y and z, at least one, as doubles.
  kestrel.detail.check_numbers(caller, name, points);
  if ndims(points) ~= 2 || size(points, 2) ~= 3 || isempty(points)
    error('kestrel:argument', '%s: %s must be an m-by-3 matrix of x, y and z in metres.', ...
          caller, name);
  end
  points = double(full(points));
end
