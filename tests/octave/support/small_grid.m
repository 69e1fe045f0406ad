function grid = small_grid()
%SMALL_GRID  A regular grid of 3 by 2 by 4 points in front of the origin.
  grid = set_coordinate_grid([2e-3 3e-3 5e-3], -2e-3, 2e-3, 0, 3e-3, 5e-3, 20e-3);
end
