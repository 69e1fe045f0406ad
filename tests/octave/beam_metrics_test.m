% kestrel.beam_metrics and kestrel.intensity on fields whose figures are known.
function beam_metrics_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  gaussian_beam();
  sampling();
  side_lobes();
  open_ends();
  tilted_lobe();
  plane_wave();
  refusals();
end

% Waist w at depth z0, Rayleigh length l, off the grid's points on two axes.
function gaussian_beam()
  grid = set_coordinate_grid([0.1 0.12 0.5] * 1e-3, -4e-3, 4e-3, -3e-3, 3e-3, 30e-3, 70e-3);
  axes = kestrel.detail.grid_axes(grid);
  [x, y, z] = ndgrid(axes{:});
  w = 1.1e-3;
  l = 8e-3;
  place = [0.33e-3 -0.05e-3 50.17e-3];
  spread = sqrt(1 + ((z - place(3)) / l) .^ 2);
  across = (x - place(1)) .^ 2 + (0.8 * (y - place(2))) .^ 2;
  p = 2e6 ./ spread .* exp(-across ./ (w * spread) .^ 2 - 4000j * z);
  metrics = kestrel.beam_metrics(p, grid, 'source_pressure', 1e5);
  expect_close(metrics.peak, 2e6, 1e-3, 'peak');
  expect_close(metrics.gain, 20, 1e-3, 'gain');
  expect(max(abs(metrics.place - place)) < 5e-6, 'place %s', mat2str(metrics.place, 4));
  levels = [6 3];
  names = {'6db', '3db'};
  for i = 1:2
    half = w * sqrt(levels(i) / 20 * log(10));
    expected = 2 * [half, half / 0.8, l * sqrt(10^(levels(i) / 10) - 1)];
    width = metrics.(['width_', names{i}]);
    expect(max(abs(width ./ expected - 1)) < 3e-3, '%s: widths %s, expected %s', names{i}, ...
           mat2str(width, 5), mat2str(expected, 5));
    edges = metrics.(['edges_', names{i}]);
    expect_close(diff(edges), width, 1e-12, 'edges are the width apart');
    expect(max(abs(mean(edges) - place)) < 30e-6, 'edges about the peak');
  end
  expect(all(isnan(metrics.side_lobe_db)), 'a Gaussian beam has no side lobes');
  expect(isnan(getfield(kestrel.beam_metrics(p, grid), 'gain')), 'no source pressure, no gain');
  p(1:5) = NaN;
  p(6) = Inf;
  expect(isequaln(kestrel.beam_metrics(p, grid, 'source_pressure', 1e5), metrics), ...
         'values that are not finite are left out');
end

% Ten points across the beam, anywhere on the lattice: the help says 0.1 percent.
function sampling()
  seeded(11);
  worst = 0;
  for trial = 1:20
    shift = rand() * 1e-3;
    grid = set_coordinate_grid(1e-3, -20e-3, 20e-3, 0, 0, 50e-3, 50e-3);
    x = (-20:20) * 1e-3 - shift;
    half = 5e-3;
    metrics = kestrel.beam_metrics(exp(-6 / 20 * log(10) * (x / half) .^ 2), grid);
    worst = max(worst, abs(metrics.width_6db(1) / (2 * half) - 1));
    expect(isnan(metrics.width_6db(3)) && metrics.place(3) == 50e-3, 'an axis of one point');
  end
  printf('ten points across the beam: %.2g of the width\n', worst);
  expect(worst < 1e-3, 'error %g', worst);
end

% The far field of a line source, sin(u)/u: first side lobe -13.26 dB, and that of its square.
function side_lobes()
  u = (-12:0.05:12) + 0.01;
  grid = set_coordinate_grid([0.05 1 1], -12, 12, 0, 0, 1, 1);
  p = sin(u) ./ u;
  metrics = kestrel.beam_metrics(p, grid);
  expect(abs(metrics.side_lobe_db(1) + 13.26) < 0.01, 'side lobe %g', metrics.side_lobe_db(1));
  expect(abs(metrics.width_6db(1) - 2 * 1.8927) < 2e-3, 'width %g', metrics.width_6db(1));
  metrics = kestrel.beam_metrics(p .^ 2, grid);
  expect(abs(metrics.side_lobe_db(1) + 26.52) < 0.02, 'side lobe %g', metrics.side_lobe_db(1));
  p(u > 6 & u < 8) = 0.4;   % a grating lobe on one side only
  metrics = kestrel.beam_metrics(p, grid);
  expect_close(metrics.side_lobe_db(1), 20 * log10(0.4), 1e-3, 'the higher side counts');
  expect_close(metrics.outside_db, 20 * log10(0.4), 1e-3, 'and it is the highest lobe outside');
  % Depth: the maxima before a focus are lobes, ripples on the way down are none.
  slope = (1 + 0.04 * cos(8 * u)) ./ (1 + u .^ 2);
  metrics = kestrel.beam_metrics(slope, grid);
  expect(isnan(metrics.side_lobe_db(1)), 'a ripple counts as a side lobe: %g dB', ...
         metrics.side_lobe_db(1));
end

function open_ends()
  grid = set_coordinate_grid([1 1 1], 0, 9, 0, 0, 0, 0);
  metrics = kestrel.beam_metrics(exp(-(0:9) / 3), grid);
  expect(metrics.place(1) == 0 && isnan(metrics.width_6db(1)) && isnan(metrics.edges_6db(1, 1)), ...
         'a peak at the end of the line has one edge');
  expect(abs(metrics.edges_6db(2, 1) - 3 * 6 / 20 * log(10)) < 0.03, 'the other edge: %g', ...
         metrics.edges_6db(2, 1));
  metrics = kestrel.beam_metrics(0.9 + 0.1 * cos((0:9) - 4), grid);
  expect(all(isnan(metrics.edges_3db(:))), 'never falls to the level');
end

% A tilted Gaussian ellipsoid and, apart from it, a lower and a higher lobe: widths along its own
% axes, its volume, and the higher lobe's level; in a plane, the same tilt.
function tilted_lobe()
  grid = set_coordinate_grid([0.25 0.2 0.4] * 1e-3, -8e-3, 8e-3, -5e-3, 5e-3, 20e-3, 50e-3);
  axes = kestrel.detail.grid_axes(grid);
  [x, y, z] = ndgrid(axes{:});
  tilt = 0.5;
  own = [cos(tilt), 0, -sin(tilt); 0 1 0; sin(tilt), 0, cos(tilt)];   % rows: the lobe's directions
  half = [1e-3 0.8e-3 5e-3];                                          % half widths at -6 dB
  shape = @(centre, half) exp(-6 / 20 * log(10) * ...
    reshape(sum(((own * [x(:) - centre(1), y(:) - centre(2), z(:) - centre(3)].') ...
                 ./ half.') .^ 2), size(x)));
  place = [0.31e-3 -0.12e-3 34.1e-3];
  p = shape(place, half) + 0.2 * shape([6e-3 2e-3 45e-3], half / 4 + 0.4e-3) ...
      + 0.3 * shape([-6e-3 -3e-3 25e-3], half / 4 + 0.4e-3);
  metrics = kestrel.beam_metrics(1e5 * p .* exp(-3000j * z), grid);
  expect(max(max(abs(metrics.lobe_axes - own.'))) < 3e-3, 'axes %s', ...
         mat2str(metrics.lobe_axes, 3));
  expect(max(abs(metrics.lobe_width_6db ./ (2 * half) - 1)) < 5e-3, 'own widths %s', ...
         mat2str(metrics.lobe_width_6db, 4));
  expect(metrics.width_6db(3) < 0.6 * metrics.lobe_width_6db(3), 'a width on z is another thing');
  volume = 4 / 3 * pi * prod(half);
  expect(abs(metrics.volume_6db / volume - 1) < 2e-2, 'volume %g of the right one', ...
         metrics.volume_6db / volume);
  expect(abs(metrics.outside_db - 20 * log10(0.3)) < 0.3, 'outside: %g dB', metrics.outside_db);
  expect(max(abs(metrics.outside_place - [-6e-3 -3e-3 25e-3])) <= 0.2001e-3, 'place outside: %s', ...
         mat2str(metrics.outside_place, 4));

  grid = set_coordinate_grid([0.25e-3 0 0.4e-3], -8e-3, 8e-3, 0, 0, 20e-3, 50e-3);
  flat = kestrel.beam_metrics(p(:, 26, :), grid);
  expect(max(abs(flat.lobe_width_6db([1 3]) ./ (2 * half([1 3])) - 1)) < 5e-3 ...
         && isnan(flat.lobe_width_6db(2)) && isnan(flat.volume_6db), 'in a plane: %s', ...
         mat2str(flat.lobe_width_6db, 4));
  grid = set_coordinate_grid([0.25 0.2 0.4] * 1e-3, -8e-3, 8e-3, -5e-3, 5e-3, 20e-3, 34e-3);
  cut = kestrel.beam_metrics(p(:, :, 1:36), grid);
  expect(all(isnan([cut.volume_6db, cut.lobe_width_6db])), 'the region leaves the grid');
end

function plane_wave()
  medium = kestrel.medium('lossless');
  p = [3e5; 3e5j; 0];
  expect_close(kestrel.intensity(p, medium), [3e4; 3e4; 0], 1e-14, '30 kW/m^2 at 0.3 MPa');
end

function refusals()
  grid = small_grid();
  water = kestrel.medium('water');
  expect_refusals('kestrel.beam_metrics', {
    {1:3, set_coordinate_grid([1 2 3])}, ...
      'only a regular grid can be measured, not a list of points.'
    {1:3, grid}, 'the grid has 3 by 2 by 4 points, but p has 3 values.'
    {zeros(3, 2, 4), grid}, 'p has no finite value above 0.'
    {NaN(3, 2, 4), grid}, 'p has no finite value above 0.'
    {ones(3, 2, 4), grid, 'source_pressure', 0}, 'source_pressure must be greater than 0.'
  });
  expect_refusals('kestrel.intensity', {
    {'p', water}, 'p must be numeric.'
    {1, 2}, 'the medium must be one structure, as kestrel.medium returns.'
  });
end
