% Walks the entry through its success, its warnings and every way to fail, once each. Run under
% valgrind (scripts/valgrind-plugin); it asserts nothing but that the session survives.
function every_path ()
  element = kestrel.rectangle (1e-3, 2e-3, 'euler', [0.1 0.2 0.3]);
  grid = set_coordinate_grid (1e-3, -5e-3, 5e-3, 0, 0, 1e-3, 1e-2);
  points = set_coordinate_grid ([0 0 1e-2; 1e-3 0 5e-3]);
  medium = kestrel.medium ('water');
  array = kestrel.linear_array (5, 0.5e-3, 2e-3, 0.6e-3);
  disc = kestrel.circle (1e-3);

  p = fnm_cw_single (element, grid, medium, 8, 1e6);
  p = fnm_cw_single (array, grid, medium, 7, 1e6);
  p = fnm_cw_single (element, points, medium, 8, 1e6);
  warning ('off', 'all');
  p = fnm_cw_single (element, grid, medium, 8, 0);      % default frequency
  p = fnm_cw_single (element, grid, medium, 8, 1e6, 1); % display flag
  p = fnm_cw_single (element, grid, medium, 8, 1e6, {2}); % whatever it is
  p = fnm_cw_single (element, grid, medium, sparse (8), sparse (1e6), sparse (0));
  warning ('on', 'all');

  bad = element; bad.shape = 'circle';
  old = element; old.complex_weight = 1;
  turned = element; turned.euler = [0 0];
  incomplete = rmfield (element, 'width');
  narrow = struct ('coordinates', [1 2]);
  open_grid = rmfield (grid, 'zmax');
  reversed = grid; reversed.xmax = -1;
  thin = rmfield (medium, 'density');

  calls = {
    {element, grid, medium, 8}
    {1, grid, medium, 8, 1e6}
    {element, 1, medium, 8, 1e6}
    {element, grid, 1, 8, 1e6}
    {element, grid, medium, 'x', 1e6}
    {element, grid, medium, 8, 1i}
    {element, grid, medium, 0, 1e6}
    {element, grid, medium, NaN, 1e6}
    {element, grid, medium, [], 1e6}
    {disc, grid, medium, 8, 1e6}
    {bad, grid, medium, 8, 1e6}
    {old, grid, medium, 8, 1e6}
    {turned, grid, medium, 8, 1e6}
    {incomplete, grid, medium, 8, 1e6}
    {element, narrow, medium, 8, 1e6}
    {element, open_grid, medium, 8, 1e6}
    {element, reversed, medium, 8, 1e6}
    {element, grid, thin, 8, 1e6}
  };
  for k = 1:numel (calls)
    try
      p = fnm_cw_single (calls{k}{:});
      error ('every_path:succeeded', 'call %d should have failed', k);
    catch err
      if strcmp (err.identifier, 'every_path:succeeded'), rethrow (err); end
      printf ('%2d: %s\n', k, strtrim (err.message));
    end
  end
end
