% The compiled entry's result for no element, one and several, and its shape.
function entry_elements_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  water = kestrel.medium('water', 'attenuationdBcmMHz', 0.3);
  result_shapes(water);
  list_of_elements(water);
  weights(water);
end

function result_shapes(water)
  rect = kestrel.rectangle(2e-3, 3e-3);
  points = [0 0 5e-3; 1e-3 2e-3 7e-3; 0 0 9e-3; 3e-3 0 4e-3];
  cases = {
    set_coordinate_grid([1e-3 1e-3 1e-3], -1e-3, 1e-3, 0, 0, 1e-3, 5e-3), [3 1 5]
    set_coordinate_grid([1e-3 1e-3 1e-3], -1e-3, 1e-3, 0, 1e-3, 3e-3, 3e-3), [3 2]
    set_coordinate_grid([1e-3 1e-3 1e-3], 0, 0, 0, 0, 3e-3, 3e-3), [1 1]
    set_coordinate_grid(points), [4 1]
    set_coordinate_grid(points(1, :)), [1 1]
    set_coordinate_grid(zeros(0, 3)), [0 1]
  };
  for i = 1:size(cases, 1)
    p = fnm_cw_single(rect, cases{i, 1}, water, 4, 1e6);
    expect(isequal(size(p), cases{i, 2}), 'grid %d: size %s', i, mat2str(size(p)));
    expect(isempty(p) || (iscomplex(p) && isa(p, 'double')), 'grid %d: complex doubles', i);
    for nothing = {repmat(rect, 1, 0), repmat(rect, 0, 0), struct([])}
      p = fnm_cw_single(nothing{1}, cases{i, 1}, water, 4, 1e6);
      expect(isequal(p, zeros(cases{i, 2})), 'grid %d: zeros for no elements', i);
    end
  end

  % The value at a point does not depend on how the point was given.
  grid = small_grid();
  regular = fnm_cw_single(rect, grid, water, 8, 1e6);
  [x, y, z] = kestrel.grid_axes(grid);
  [x, y, z] = ndgrid(x, y, z);
  listed = fnm_cw_single(rect, set_coordinate_grid([x(:), y(:), z(:)]), water, 8, 1e6);
  expect(isequal(regular(:), listed), 'a regular grid and the list of its points agree');
  fraction = fnm_cw_single(rect, grid, water, 8.9, 1e6);
  expect(isequal(regular, fraction), 'a fraction of ndiv is cut off');
end

% Several elements: which size and weight meet which place and angles is a property of the entry
% that users' results depend on (its own tests have the table). Here: in any orientation.
function list_of_elements(water)
  grid = small_grid();
  for i = 1:4
    elements(i) = kestrel.rectangle((1 + i) * 1e-3, 3e-3, 'center', [i, -2 * i, 0] * 1e-3);
  end
  p = fnm_cw_single(elements, grid, water, 8, 1e6);
  for shape = [4 1; 2 2].'
    expect(isequal(fnm_cw_single(reshape(elements, shape.'), grid, water, 8, 1e6), p), ...
           '%d by %d elements', shape);
  end
end

function weights(water)
  grid = small_grid();
  rect = kestrel.rectangle(2e-3, 3e-3);
  single = @(e) fnm_cw_single(e, grid, water, 8, 1e6);
  p = single(rect);
  expect(isequal(single(rmfield(rect, {'amplitude', 'phase'})), p), ...
         'amplitude 1 and phase 0 when the fields are missing');
  turned = kestrel.rectangle(2e-3, 3e-3, 'amplitude', 2, 'phase', pi / 2);
  expect_close(single(turned), 2j * p, 1e-15, 'amplitude and phase');
  silent = kestrel.rectangle(2e-3, 3e-3, 'amplitude', 1e-10);
  expect(isequal(single(silent), zeros(size(p))), 'a negligible amplitude adds nothing');
  behind = kestrel.rectangle(2e-3, 3e-3, 'center', [0 0 12e-3]);
  q = single(behind);
  expect(all(all(all(q(:, :, 1:2) == 0))) && all(all(all(q(:, :, 3:4) ~= 0))), ...
         'nothing behind the face');
end
