% Arrays on curved surfaces, and what sets the weights of an array: places, directions, room
% between elements, phases and amplitudes.
function array_builders_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  turned_angles();
  arcs();
  annuli();
  bowls();
  joined();
  concentric_focus();
  several_foci();
  steering();
  windows();
end

% An element of a turned array has the angles of both turns, at the special angles too.
function turned_angles()
  seeded(3);
  angles = [2 * pi * (rand(40, 3) - 0.5); 0 pi/2 0; 0.3 -pi/2 1; 0 0 0; pi pi pi];
  for i = 1:size(angles, 1)
    normal = kestrel.detail.to_global([0; 0; 1], [0 0 0], angles(i, :)).';
    prototype = kestrel.rectangle(1, 1, 'euler', [0 0 angles(i, 3)]);
    alone = kestrel.from_positions(prototype, [0 0 0], normal);
    for j = [1 2 39:44]
      turned = kestrel.from_positions(prototype, [0 0 0], normal, 'euler', angles(j, :));
      expected = kestrel.detail.rotation_matrix(alone.euler) ...
                 * kestrel.detail.rotation_matrix(angles(j, :));
      expect_close(kestrel.detail.rotation_matrix(turned.euler), expected, 1e-12, ...
                   'angles %s in %s', mat2str(angles(i, :), 3), mat2str(angles(j, :), 3));
    end
  end
end

function arcs()
  placing = {'center', [1e-3 -2e-3 3e-3], 'euler', [0.3 0.2 -0.7]};
  for radius = [40e-3 -40e-3]
    array = kestrel.curved_array(5, 2e-3, 8e-3, 3e-3, radius);
    [centers, facing] = directions(array);
    middle = repmat([0 0 radius], 5, 1);
    expect_close(sqrt(sum((centers - middle) .^ 2, 2)), abs(radius) * ones(5, 1), 1e-12, ...
                 'distances from the axis');
    expect_close(facing, (middle - centers) / radius, 1e-12, 'towards or away from the axis');
    expect_close(centers(3, :) + 1, [1 1 1], 1e-15, 'the middle is at the origin');
    expect(all(diff(centers(:, 1)) > 0) && all(sign(radius) * centers([1 5], 3) > 0), ...
           'order, and the side to which the arc is bent');
    chord = sqrt(sum(diff(centers) .^ 2, 2));
    expect_close(chord, 2 * 40e-3 * sin(3e-3 / 40e-3 / 2) * ones(4, 1), 1e-12, 'pitch on the arc');
    expect_turned(array, kestrel.curved_array(5, 2e-3, 8e-3, 3e-3, radius, placing{:}), placing);
  end
  flat = kestrel.curved_array(4, 0.5e-3, 10e-3, 0.6e-3, 1e6);
  row = kestrel.linear_array(4, 0.5e-3, 10e-3, 0.6e-3);
  expect_close(vertcat(flat.center), vertcat(row.center), 1e-8, 'a great radius is a flat row');
  % The tangents leave a little more room than the pitch, and there are limits.
  kestrel.curved_array(20, 3.001e-3, 8e-3, 3e-3, 20e-3);
  kestrel.curved_array(6, 1, 1, pi / 3, 1);
end

function annuli()
  inner = [6e-3 0 3e-3];
  outer = [7e-3 3e-3 5e-3];
  placing = {'center', [1e-3 -2e-3 3e-3], 'euler', [0.3 0.2 -0.7]};
  array = kestrel.annular_array(inner, outer, 'amplitude', [1 2 3], placing{:});
  expect(isequal({array.shape}, {'ring', 'circ', 'ring'}) && array(2).radius == 3e-3 ...
         && array(1).inner_radius == 6e-3 && array(3).outer_radius == 5e-3, 'flat rings');
  for i = 1:3
    expect(isequal(array(i).center, placing{2}) && isequal(array(i).euler, placing{4}) ...
           && array(i).amplitude == i, 'place and weight of ring %d', i);
  end
  array = kestrel.annular_array(inner, outer, 'Rad_Curvature', 20e-3);
  expect(isequal({array.shape}, {'sph ring', 'shel', 'sph ring'}) ...
         && array(2).rad_curvature == 20e-3 && array(1).geometric_focus == 20e-3, ...
         'rings of a bowl');
  kestrel.detail.check_array('test', array);
end

function bowls()
  cases = {1, 5e-3, 10e-3, 30e-3, 0
           2, 4e-3, 10e-3, 30e-3, 0
           7, 2.3e-3, 10e-3, 30e-3, 0
           64, 3.8e-3, 40e-3, 40e-3, 0
           256, 2.8e-3, 60e-3, 120e-3, 0
           128, 3e-3, 60e-3, 100e-3, 22e-3};
  placing = {'center', [1e-3 -2e-3 3e-3], 'euler', [0.3 0.2 -0.7]};
  for i = 1:size(cases, 1)
    [n, a, aperture, radius, opening] = cases{i, :};
    what = sprintf('bowl of %d', n);
    array = kestrel.bowl_array(cases{i, 1:4}, 'inner_radius', opening);
    expect(isequal(size(array), [1 n]), '%s: count', what);
    [centers, facing] = directions(array);
    to_middle = repmat([0 0 radius], n, 1) - centers;
    expect_close(sqrt(sum(to_middle .^ 2, 2)), radius * ones(n, 1), 1e-12, ...
                 '%s: on the sphere', what);
    expect_close(facing, to_middle / radius, 1e-12, '%s: facing the centre', what);

    % Points of the rims: within the aperture, outside the opening, and on the near side of the
    % plane half-way to every other element (discs on a sphere overlap across that plane only).
    t = linspace(0, 2 * pi, 181);
    rim = a * [cos(t); sin(t); zeros(size(t))];
    for j = 1:n
      points = kestrel.detail.to_global(rim, array(j).center, array(j).euler).';
      from_axis = hypot(points(:, 1), points(:, 2));
      expect(max(from_axis) <= aperture * (1 + 1e-9) && min(from_axis) >= opening * (1 - 1e-9), ...
             '%s: element %d leaves the aperture', what, j);
      apart = points * (to_middle - repmat(to_middle(j, :), n, 1)).';
      level = radius * (to_middle(:, 3) - to_middle(j, 3)).';
      expect(all(all(apart - repmat(level, numel(t), 1) >= -1e-12)), '%s: element %d overlaps', ...
             what, j);
    end

    % Even: equal parts of the sphere hold nearly equal numbers.
    if n > 60
      height = sort(centers(:, 3));
      expected = linspace(height(1), height(end), n).';
      expect(max(abs(height - expected)) < 0.02 * height(end), '%s: rises evenly', what);
      side = mean(centers(:, 1:2)) / aperture;
      expect(norm(side) < 0.03, '%s: no side is fuller: %.3f', what, norm(side));
    end
    expect_turned(array, kestrel.bowl_array(cases{i, 1:4}, 'inner_radius', opening, placing{:}), ...
                  placing);
  end

  % What does not fit is refused, and the radius that is named does fit.
  refused = @(a) outcome_of(@() kestrel.bowl_array(256, a, 60e-3, 120e-3));
  message = refused(3.2e-3);
  named = regexp(message, ['^kestrel.bowl_array: 256 discs of radius 0.0032 m do not fit; ' ...
                           'a radius of (\S+) m does.$'], 'tokens', 'once');
  expect(~isempty(named), 'the text "%s"', message);
  radius = str2double(named{1});
  expect(isempty(refused(radius)) && ~isempty(refused(radius + 2e-7)), 'the largest radius');
end

function joined()
  rect = kestrel.rectangle(1e-3, 2e-3, 'phase', 3);
  bare = struct('radius', 1e-3, 'shape', 'circ', 'euler', [0 0 0], 'center', [1 2 3]);
  array = kestrel.join([rect; rect], bare, repmat(rect, 1, 0), kestrel.shell(5e-3, 9e-3));
  expect(isequal({array.shape}, {'rect', 'rect', 'circ', 'shel'}) && isrow(array), ...
         'order of the elements');
  expect(isequal([array.phase], [3 3 0 0]) && isequal([array.amplitude], [1 1 1 1]) ...
         && isempty(array(3).width) && array(3).apodization_index == 0, 'fields that were missing');
  expect(isequal(fieldnames(array), fieldnames(kestrel.join(array, bare))), 'joins again');
  expect(isempty(kestrel.join(repmat(bare, 0, 0), repmat(rect, 1, 0))), 'nothing');
end

% On their axis the shares of rings, discs and shells are exp(-jk Ri) - exp(-jk Ro), over
% 1 - z/R for a curved one: after focusing all have one phase.
function concentric_focus()
  medium = kestrel.medium('water');
  f0 = 1.5e6;
  k = 2 * pi * f0 / medium.soundspeed;
  edge = 12e-3 * sqrt((0:6) / 6);
  placing = {'center', [1e-3 -2e-3 3e-3], 'euler', [0.3 0.2 -0.7]};
  for curvature = [Inf 40e-3]
    array = kestrel.annular_array(edge(1:6), edge(2:7), 'rad_curvature', curvature, placing{:});
    for depth = [8e-3 25e-3 40.1e-3 70e-3]
      point = kestrel.detail.to_global([0; 0; depth], placing{2}, placing{4}).';
      focused = kestrel.focus(array, point, medium, f0);
      height = edge .^ 2 / 2 / curvature;
      if ~isinf(curvature)
        height = curvature - sqrt(curvature^2 - edge .^ 2);
      end
      path = hypot(edge, depth - height);
      shares = (exp(-1j * k * path(1:6)) - exp(-1j * k * path(2:7))) / (1 - depth / curvature) ...
               .* exp(1j * [focused.phase]);
      expect_close(abs(sum(shares)), sum(abs(shares)), 1e-9, 'curvature %g, depth %g', ...
                   curvature, depth);
    end
  end
end

function several_foci()
  medium = kestrel.medium('water', 'attenuationdBcmMHz', 0.3);
  f0 = 1e6;
  bowl = kestrel.bowl_array(256, 2.8e-3, 60e-3, 120e-3, 'amplitude', linspace(0.5, 1.5, 256));
  sheet = kestrel.planar_array([12 12], 1e-3, 1e-3, [1.1e-3 1.1e-3]);
  cases = {bowl, [-5 0 120; 5 0 120], [1; 1]
           bowl, [4 0 120; -4 0 120; 0 5 115], [1; 1; 2]
           sheet, [-4 -4 30; 4 4 30; -4 4 35; 4 -4 35], [1; 1; 1; 1]
           sheet, [0 0 40], 1};
  % Simple sources of the elements' areas, written out.
  k = 2 * pi * f0 / medium.soundspeed + 30 * log(10) / 20 / 1j;
  for i = 1:size(cases, 1)
    [array, foci, wanted] = cases{i, :};
    foci = foci * 1e-3;
    radiated = @(array) abs(sum(exp(-1j * k * distances(array, foci)) ./ distances(array, foci) ...
                            .* ([array.amplitude] .* exp(1j * [array.phase])), 2));

    kept = kestrel.focus(array, foci, medium, f0, 'pressure', wanted);
    expect(isequal(rmfield(kept, 'phase'), rmfield(array, 'phase')), 'only phases change');
    p = radiated(kept);
    expect_close(p / p(1), wanted, 0.02, 'case %d: pressures asked for, phases only', i);
    alone = radiated(kestrel.focus(array, foci(1, :), medium, f0));
    share = norm(p) / alone(1);
    expect(share > 0.7, 'case %d: of what one focus would get, %g is left', i, share);

    set = kestrel.focus(array, foci, medium, f0, 'pressure', wanted, 'amplitude', 'set');
    p = radiated(set);
    expect_close(p / p(1), wanted, 0.02, 'case %d: pressures asked for, pseudo-inverse', i);
    expect_close(max([set.amplitude]), max([array.amplitude]), 1e-12, 'the largest amplitude');
  end
  silent = kestrel.focus(kestrel.apodize(sheet, zeros(1, 144)), foci + [0 0 0; 1 1 1], medium, f0);
  expect(all(isfinite([silent.phase])), 'silent elements');
end

function steering()
  medium = kestrel.medium('water');
  f0 = 2e6;
  k = 2 * pi * f0 / medium.soundspeed;
  euler = [0.4 -0.2 0.9];
  array = kestrel.planar_array([6 5], 0.3e-3, 0.3e-3, [0.35e-3 0.4e-3], 'euler', euler, ...
                               'center', [1e-3 2e-3 3e-3]);
  angles = [0.35 2.1];
  steered = kestrel.steer(array, angles, medium, f0);
  local = [sin(angles(1)) * cos(angles(2)); sin(angles(1)) * sin(angles(2)); cos(angles(1))];
  far = kestrel.detail.to_global(1e4 * local, [0 0 0], euler).';
  expect_same_phases(steered, kestrel.focus(array, far, medium, f0), 1e-3, 'a very far focus');
  expect(min(abs([steered.phase])) == 0 && max(abs([steered.phase])) <= pi, 'range of the phases');

  % Global axes for elements that differ, or when asked for.
  bowl = kestrel.bowl_array(20, 2e-3, 20e-3, 40e-3);
  expect_same_phases(kestrel.steer(bowl, -0.3, medium, f0), ...
                     kestrel.steer(bowl, [0.3 pi], medium, f0), 1e-9, 'a negative angle');
  z_only = kestrel.steer(array, 0, medium, f0, 'euler', [0 0 0]);
  height = vertcat(array.center);
  phase = k * (max(height(:, 3)) - height(:, 3)).';
  expect(max(abs(exp(1j * phase) - exp(1j * [z_only.phase]))) < 1e-10, 'global axes');
end

function windows()
  row = kestrel.linear_array(5, 1e-3, 10e-3, 1e-3, 'amplitude', 2, 'euler', [0.3 0.1 0.2]);
  t = [-0.8 -0.4 0 0.4 0.8];
  table = {'hann', cos(pi * t / 2) .^ 2
           [1 0 3 4 5], [1 0 3 4 5]};
  for i = 1:size(table, 1)
    weighted = kestrel.apodize(row, table{i, 1});
    expect_close([weighted.amplitude], 2 * table{i, 2}, 1e-12, 'window %d', i);
  end
  sheet = kestrel.planar_array([3 2], 1e-3, 2e-3, [1e-3 2e-3], 'euler', [0.3 0.1 0.2], ...
                               'center', [1 2 3]);
  across = kestrel.apodize(sheet, {'hann', [5 7]});
  x = cos(pi / 3)^2;
  expect_close([across.amplitude], [5 * [x 1 x], 7 * [x 1 x]], 1e-9, 'one window per axis');
  both = kestrel.apodize(sheet, 'cosine');
  expect_close([both.amplitude], repmat([0.5 1 0.5] * sqrt(0.5), 1, 2), 1e-9, 'the same for both');
  rings = kestrel.annular_array([0 2e-3 6e-3], [2e-3 4e-3 10e-3]);
  rings = kestrel.apodize(rings, 'hann', 'along', 'radius');
  expect_close([rings.amplitude], cos(pi / 2 * [0 0.3 0.8]) .^ 2, 1e-9, 'over the radius');
end

% Centres and facing directions, n by 3, the latter from a second point of the axis.
function [centers, facing] = directions(array)
  centers = vertcat(array.center);
  facing = zeros(numel(array), 3);
  for i = 1:numel(array)
    ahead = kestrel.detail.to_global([0; 0; 1], array(i).center, array(i).euler).';
    facing(i, :) = ahead - array(i).center;
    [x, y, z] = local_points(array(i), ahead);
    expect(norm([x y z] - [0 0 1]) < 1e-12, 'the axis of element %d', i);
  end
end

% A turned array is the same array in a turned frame.
function expect_turned(array, turned, placing)
  frame = kestrel.rectangle(1, 1, placing{:});
  [centers, facing] = directions(array);
  [turned_centers, turned_facing] = directions(turned);
  [x, y, z] = local_points(frame, turned_centers);
  expect_close([x y z] + 1, centers + 1, 1e-14, 'centres of the turned array');
  [x, y, z] = local_points(frame, turned_facing + repmat(frame.center, numel(array), 1));
  expect_close([x y z], facing, 1e-12, 'directions of the turned array');
end

function expect_same_phases(a, b, tolerance, what)
  difference = exp(1j * ([a.phase] - [b.phase]));
  expect(max(abs(difference - difference(1))) < tolerance, '%s: %g rad', what, ...
         max(abs(difference - difference(1))));
end

function r = distances(array, points)
  r = zeros(size(points, 1), numel(array));
  for i = 1:numel(array)
    r(:, i) = sqrt(sum((points - repmat(array(i).center, size(points, 1), 1)) .^ 2, 2));
  end
end
