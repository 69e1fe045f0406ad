% Elements at given places, plane waves, drive, the window of a pulse, the axes of a grid, the
% version.
function placing_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  seeded(5);
  aimed();
  positions();
  plane_waves();
  driven();
  windows();
  axes_and_version();
end

function aimed()
  array = [kestrel.rectangle(1e-3, 2e-3, 'center', [3 2 1] * 1e-3, 'euler', [1 2 0.7]), ...
           kestrel.circle(1e-3, 'center', [0 -4e-3 0]), kestrel.shell(1e-3, 5e-3)];
  for point = {[0 0 40e-3], [10e-3 -20e-3 -5e-3], [0 7e-3 0], [3e-3 9e-3 1e-3]}
    turned = kestrel.aim(array, point{1});
    for i = 1:numel(array)
      ahead = normal_of(turned(i));
      wanted = point{1} - array(i).center;
      expect_close(ahead, wanted / norm(wanted), 1e-14, 'element %d', i);
      expect(turned(i).euler(3) == array(i).euler(3) ...
             && isequal(rmfield(turned(i), 'euler'), rmfield(array(i), 'euler')), 'the rest stays');
    end
  end
end

function positions()
  places = 0.1 * (rand(20, 3) - 0.5);
  normals = randn(20, 3);
  normals(1:2, :) = [0 1 0; 0 0 -2];
  prototype = kestrel.rectangle(1e-3, 2e-3, 'euler', [1 2 0.3], 'center', [1 1 1], 'amplitude', 3);
  array = kestrel.from_positions(prototype, places, normals, 'phase', 1:20);
  expect(isequal(size(array), [1 20]) && isequal(vertcat(array.center), places) ...
         && isequal([array.phase], 1:20) && all([array.amplitude] == 3) ...
         && all([array.width] == 1e-3), 'places, weights and size');
  for i = 1:20
    expect_close(normal_of(array(i)), normals(i, :) / norm(normals(i, :)), 1e-14, 'normal %d', i);
    expect(array(i).euler(3) == 0.3, 'spin of element %d', i);
  end
  % The array that another builder makes; placed and turned as a whole, too.
  placing = {'center', [1e-3 -2e-3 3e-3], 'euler', [0.3 0.2 -0.7]};
  bowl = kestrel.bowl_array(30, 2e-3, 30e-3, 50e-3);
  places = vertcat(bowl.center);
  copy = kestrel.from_positions(kestrel.circle(2e-3), places, [0 0 50e-3] - places, placing{:});
  turned = kestrel.bowl_array(30, 2e-3, 30e-3, 50e-3, placing{:});
  expect_close(vertcat(copy.center), vertcat(turned.center), 1e-14, 'centres of the bowl');
  expect_close(vertcat(copy.euler), vertcat(turned.euler), 1e-12, 'angles of the bowl');
  flat = kestrel.from_positions(kestrel.circle(2e-3), places, []);
  expect(~any(any(vertcat(flat.euler))), '[] looks along z');

  expect_refusals('kestrel.from_positions', {
    {bowl, places, []}, 'prototype must be one element, not 30.'
    {bowl(1), places(:, 1:2), []}, 'positions must be an m-by-3 matrix of x, y and z in metres.'
    {bowl(1), places, ones(2, 3)}, 'normals must have 1 or 30 rows, but it has 2.'
    {bowl(1), places(1:2, :), [0 0 1; 0 0 0]}, 'normal 2 has the length 0.'
  });
  expect_refusals('kestrel.aim', {
    {bowl, bowl(7).center}, 'element 7 has its centre at the point.'
  });
end

% The pulse of each element meets those of the others on planes across the direction, at the time
% that the distance from the array's middle says.
function plane_waves()
  medium = kestrel.medium('lossless');
  c = medium.soundspeed;
  array = kestrel.planar_array([6 5], 0.3e-3, 0.3e-3, [0.35e-3 0.4e-3], ...
                               'center', [1e-3 2e-3 3e-3], 'euler', [0.4 -0.2 0.9]);
  for angles = {[0.35 2.1], -0.2, 0}
    sent = kestrel.plane_wave_delays(array, angles{1}, medium);
    theta = angles{1}(1);
    phi = [angles{1}(2:end), 0](1);
    local = [sin(theta) * cos(phi); sin(theta) * sin(phi); cos(theta)];
    direction = kestrel.detail.to_global(local, [0 0 0], [0.4 -0.2 0.9]);
    far = 1e3 * direction.' + [1e-3 2e-3 3e-3];
    arrival = [sent.time_delay] + (sqrt(sum((vertcat(sent.center) - far) .^ 2, 2)) - 1e3).' / c;
    expect(max(abs(arrival)) < 1e-12, 'theta %g: up to %g s apart', theta, max(abs(arrival)));
    expect(isequal(rmfield(sent, 'time_delay'), array), 'only delays');
    steered = kestrel.steer(array, angles{1}, medium, 1e6);
    lag = exp(1j * ([steered.phase] + 2 * pi * 1e6 * [sent.time_delay]));
    expect(max(abs(lag - lag(1))) < 1e-9, 'the phases of kestrel.steer, as delays');
  end
  global_axes = kestrel.plane_wave_delays(array, 0, medium, 'euler', [0 0 0]);
  centers = vertcat(array.center);
  expect_close([global_axes.time_delay], (centers(:, 3) - 3e-3).' / c, 1e-9, 'global axes');
  expect_refusals('kestrel.plane_wave_delays', {
    {array, [1 2 3], medium}, 'angles must have 2 entries, but it has 3.'
  });
end

function driven()
  medium = kestrel.medium('lossless');   % rho c is 1.5e6
  array = kestrel.apodize(kestrel.linear_array(5, 1e-3, 4e-3, 1e-3, 'phase', 2), 'hann');
  array = kestrel.drive(array, medium, 'pressure', 30e3);
  expect_close([array.amplitude], 0.02 * cos(pi * [-2 -1 0 1 2] / 5) .^ 2, 1e-12, 'weights stay');
  expect(all([array.phase] == 2), 'phases stay');

  shapes = {kestrel.rectangle(2e-3, 3e-3), 6e-6
            kestrel.circle(2e-3), pi * 4e-6
            kestrel.ring(1e-3, 2e-3), pi * 3e-6
            kestrel.shell(2e-3, 2e-3), 2 * pi * 4e-6
            kestrel.shell_ring(1.2e-3, 2e-3, 2e-3), 2 * pi * 2e-3 * 1.6e-3};
  for i = 1:5
    element = kestrel.drive(shapes{i, 1}, medium, 'power', 50);
    expect_close(1.5e6 * element.amplitude^2 * shapes{i, 2} / 2, 50, 1e-12, 'shape %d', i);
  end
  % What goes through a plane before a wide disc is what was asked for.
  disc = kestrel.drive(kestrel.circle(9e-3), medium, 'power', 50);
  step = 0.1e-3;
  grid = set_coordinate_grid([step step 0], -20e-3, 20e-3, -20e-3, 20e-3, 12e-3, 12e-3);
  i = kestrel.intensity(kestrel.cw_field(disc, grid, medium, 48, 2e6), medium);
  expect_close(sum(i(:)) * step^2, 50, 0.02, 'watts through a plane');

  expect_refusals('kestrel.drive', {
    {array, medium, 'volts', 1}, 'the quantity must be one of ''pressure'', ''power''.'
    {array, medium, 'power', 0}, 'power must be greater than 0.'
    {kestrel.apodize(array, zeros(1, 5)), medium, 'power', 1}, 'the amplitudes are all 0.'
  });
end

% Before and after the window the field is zero, and in the window it is not.
function windows()
  medium = kestrel.medium('lossless');
  pulse = set_excitation_function(2, 1, 1e6, 3e-6, 0);
  signal = set_excitation_function(sin(2 * pi * (0:59) / 20), 50e-9, 3e-6, 0);
  array = [kestrel.rectangle(2e-3, 9e-3, 'euler', [0.2 0.3 0]), kestrel.shell(8e-3, 12e-3), ...
           kestrel.circle(3e-3, 'center', [5e-3 0 0]), kestrel.ring(2e-3, 4e-3)];
  delayed = kestrel.focus_delays(array, [3e-3 0 25e-3], medium);
  late = delayed;
  late(2).time_delay = 30e-6;
  early = kestrel.plane_wave_delays(array, 0.3, medium, 'euler', [0 0 0]);
  box = set_coordinate_grid([2e-3 2e-3 3e-3], -6e-3, 6e-3, -4e-3, 4e-3, 20e-3, 38e-3);
  points = set_coordinate_grid([0 0 20e-3; 15e-3 -10e-3 50e-3; 0 2e-3 9e-3]);
  cases = {array, box, pulse; array, points, signal; delayed, box, pulse; late, box, pulse
           early, points, pulse
           early, box, [pulse; pulse; set_excitation_function(2, 1, 0.5e6, 5e-6, 0); pulse]};
  for i = 1:size(cases, 1)
    [array, grid, drive] = cases{i, :};
    time = kestrel.time_window(array, grid, medium, drive);
    field = @(time) kestrel.transient_field(array, grid, medium, time, 32, drive);
    inside = field(time);
    length_of = time.tmax - time.tmin;
    outside = field(set_time_samples(0.25e-6, time.tmin - length_of / 3, ...
                                     time.tmax + length_of / 3));
    inside = abs(inside(:));
    outside = abs(outside(:));
    expect(max(outside) < 1.02 * max(inside), 'case %d: a peak outside', i);
    for edge = [set_time_samples(0.1e-6, time.tmin - 9e-6, time.tmin), ...
                set_time_samples(0.1e-6, time.tmax, time.tmax + 20e-6)]
      expect(max(abs(field(edge)(:))) <= 1e-9 * max(inside), 'case %d: sound outside', i);
    end
    % How much longer than need be: at most the balls' diameters on either side.
    delay = max(kestrel.detail.field_columns(array, 'time_delay', 0));
    expect(length_of < 60e-3 / 1500 + 6e-6 + delay, 'case %d: %g s long', i, length_of);
  end
  time = kestrel.time_window(array, points, medium, pulse);
  expect_close(time.deltat, 50e-9, 1e-12, 'twenty steps per period');
  time = kestrel.time_window(array, points, medium, pulse, 'samples', 8);
  expect_close(time.deltat, 125e-9, 1e-12, 'eight steps per period');
  expect_refusals('kestrel.time_window', {
    {array, points, medium, [pulse; pulse]}, ['the excitation must be one structure, or one for ' ...
      'each element, as set_excitation_function returns.']
    {array([]), points, medium, pulse}, 'there must be at least one element and one point.'
    {array, points, medium, rmfield(pulse, 'f0')}, 'the excitation lacks the field ''f0''.'
  });
end

function axes_and_version()
  [x, y, z] = kestrel.grid_axes(set_coordinate_grid([0.1 0 1], 0, 0.3, 0.5, 1, 0.2, 0.2));
  expect(isequal({x, y, z}, {(0:3) * 0.1, 0.5, 0.2}), 'axes');
  expect_refusals('kestrel.grid_axes', {
    {set_coordinate_grid([0 0 1])}, 'a list of points has no axes.'
    {5}, 'the grid must be one structure, as set_coordinate_grid returns.'
  });
  expect(~isempty(regexp(kestrel.version(), '^\d+\.\d+\.\d+$', 'once')), 'the version "%s"', ...
         kestrel.version());
end

% Row of the direction in which an element's face looks.
function n = normal_of(element)
  n = kestrel.detail.to_global([0; 0; 1], [0 0 0], element.euler).';
end
