% kestrel.cw_field and kestrel.focus together: what a focused array's field must look like.
function array_field_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  medium = kestrel.medium('lossless');
  f0 = 1e6;
  point = [4e-3 -3e-3 30e-3];
  array = kestrel.planar_array([6 5], 0.4e-3, 0.4e-3, [2e-3 1.8e-3], 'euler', [0.1 0.05 0.2], ...
                               'center', [1e-3 0 2e-3]);
  focused = kestrel.focus(array, point, medium, f0);
  at_point = set_coordinate_grid(point);

  % Small elements: what each one sends arrives with the same phase, so magnitudes add up.
  shares = arrayfun(@(e) fnm_cw_single(e, at_point, medium, 8, f0), focused);
  expect(max(abs(angle(shares / shares(1)))) < 0.02, 'contributions in phase: %.3g rad', ...
         max(abs(angle(shares / shares(1)))));
  p = kestrel.cw_field(focused, at_point, medium, 8, f0, 'method', 'fnm_cw_single');
  expect_close(p, sum(shares), 1e-14, 'the sum of the contributions');
  expect(abs(p) > 0.999 * sum(abs(shares)), 'magnitudes add up');
  expect(abs(kestrel.cw_field(array, at_point, medium, 8, f0)) < 0.9 * abs(p), ...
         'the focused array is the stronger one there');

  % On the sphere about the array through the point no other place is as strong.
  [across, along] = ndgrid(linspace(-0.3, 0.3, 25));
  center = [1e-3 0 2e-3];
  axis = (point - center) / norm(point - center);
  side = cross(axis, [0 1 0]) / norm(cross(axis, [0 1 0]));
  up = cross(side, axis);
  directions = axis + across(:) * side + along(:) * up;
  directions = directions ./ sqrt(sum(directions .^ 2, 2));
  sphere = set_coordinate_grid(center + norm(point - center) * directions);
  q = kestrel.cw_field(focused, sphere, medium, 8, f0);
  [~, strongest] = max(abs(q));
  expect(norm(sphere.coordinates(strongest, :) - point) < 1.5e-3, ...
         'the strongest place is the focus, not %s', mat2str(sphere.coordinates(strongest, :), 3));

  expect(isequal(kestrel.cw_field(array(1:0), small_grid(), medium, 4, f0), zeros(3, 2, 4)), ...
         'no elements');
  expect(isequal(size(kestrel.cw_field(array(1:3).', small_grid(), medium, 4, f0)), [3 2 4]), ...
         'the shape of the grid');
end
