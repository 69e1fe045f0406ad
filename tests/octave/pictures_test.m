% Pictures: written without a display, of the field or array that was given, with nothing left
% behind in the session.
function pictures_test()
  addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
  toolkit = graphics_toolkit();
  figures = get(0, 'children');
  fields();
  arrays();
  surfaces();
  scales();
  odd_fields();
  texts();
  files();
  refusals();
  expect(strcmp(graphics_toolkit(), toolkit), 'the toolkit is the user''s again');
  expect(isequal(get(0, 'children'), figures), 'no figure is left open');
end

% A field that is bright in one corner of the plane: the picture must be bright there, so that
% turned or mirrored axes show.
function fields()
  grid = set_coordinate_grid(1e-3, -5e-3, 5e-3, 0, 4e-3, 1e-3, 20e-3);
  counts = [11 5 20];
  p = 1e-3 * ones(counts);
  p(9:11, 3, 16:20) = 1;
  plane = set_coordinate_grid(1e-3, -5e-3, 5e-3, 2e-3, 2e-3, 1e-3, 20e-3);

  image = picture(@(file) kestrel.show_field(p(:, 3, :), plane, 'file', file));
  expect(size(image, 2) > 900 && size(image, 1) > 400, 'size of the picture');
  expect_bright_at_top_right(image, 'single plane');
  image = picture(@(file) kestrel.show_field(p, grid, 'file', file, 'slice', 'y', 'at', 2.2e-3, ...
                                             'scale', 'linear', 'title', 'A corner'));
  expect_bright_at_top_right(image, 'slice of a volume');
  image = picture(@(file) kestrel.show_field(p, grid, 'file', file, 'slice', 'y'));
  expect_bright_at_top_right(image, 'plane through the largest value');
  dark = picture(@(file) kestrel.show_field(p, grid, 'file', file, 'slice', 'y', 'at', 0));
  expect(mean(dark(:)) < mean(image(:)) - 5, '0 dB is the largest value of the whole field');

  volume(p, grid);
  picture(@(file) kestrel.show_field(p .* exp(1j * reshape(1:20, 1, 1, [])), grid, ...
                                     'file', file, 'scale', 'phase'));
  line = set_coordinate_grid(1e-3, 0, 0, 0, 0, 1e-3, 20e-3);
  picture(@(file) kestrel.show_field(linspace(0, 1, 20), line, 'file', file));
  zeros_only = picture(@(file) kestrel.show_field(zeros(11, 1, 20), plane, 'file', file));
  p(:) = NaN;
  p(1, 3, 1) = 1;
  with_gaps = picture(@(file) kestrel.show_field(p(:, 3, :), plane, 'file', file));
  expect(mean(zeros_only(:)) < mean(with_gaps(:)), 'zeros are dark, missing values are not');
end

% Three cuts, y-z, x-z and x-y, each bright where the field is, and their places; a surface.
function volume(p, grid)
  picture(@(file) kestrel.show_field(p, grid, 'file', file));
  picture(@(file) kestrel.show_field(p, grid, 'file', file, 'at', [0 0 0], 'title', 'At 0'));
  [panels, figure] = drawn(@() kestrel.show_field(p, grid, 'title', 'Three cuts'));
  close_it = onCleanup(@() close(figure));
  data = arrayfun(@(ax) get(findobj(ax, 'type', 'image'), 'cdata'), panels, ...
                  'UniformOutput', false);
  cuts = {p(9, :, :), p(:, 3, :), p(:, :, 16)};
  for i = 1:3
    expect(isequal(data{i} > -20, squeeze(cuts{i}) > 0.5), 'cut %d shows another part', i);
  end
  % Without a display nothing but the numbers says whether panels lie on the page and apart.
  places = cell2mat(get(findall(figure, 'type', 'axes'), 'position'));
  expect(all(all(places(:, 1:2) >= 0 & places(:, 1:2) + places(:, 3:4) <= 1 + 1e-9)), ...
         'a panel leaves the page');
  expect(sum(places(:, 4) * 6 >= 1.3) >= 2, 'the colour bar is shorter than its label');

  axes = kestrel.detail.grid_axes(grid);
  [x, y, z] = ndgrid(axes{:});
  ball = exp(-(x .^ 2 + (y - 2e-3) .^ 2 + (z - 10e-3) .^ 2) / 3e-3^2);
  picture(@(file) kestrel.show_field(ball, grid, 'file', file, 'isosurface', -3, 'view', [20 30]));
  picture(@(file) kestrel.show_field(7 * ball, grid, 'file', file, 'isosurface', [3 5], ...
                                     'scale', 'linear'));
end

% The triangles of a surface: closed where the grid ends, of the ball's area, normals outwards or
% inwards along the radius; and of two levels the lower one cut open towards the viewer.
function surfaces()
  grid = set_coordinate_grid(0.5e-3, -8e-3, 8e-3, -8e-3, 8e-3, 0, 12e-3);
  axes = kestrel.detail.grid_axes(grid);
  [x, y, z] = ndgrid(axes{:});
  ball = max(20 - sqrt(x .^ 2 + y .^ 2 + z .^ 2) * 1e3, 0);   % half of it lies in the grid
  options = struct('isosurface', 14, 'scale', 'linear', 'view', [0 10]);
  scene = kestrel.detail.level_surfaces('test', ball, axes, options);
  volume = sum(dot(scene.faces(:, 1, :), cross(scene.faces(:, 2, :), scene.faces(:, 3, :)))) / 6;
  expect(abs(abs(volume) / (2 / 3 * pi * 6^3) - 1) < 0.02, 'a closed half ball of %g mm^3', volume);
  corners = reshape(scene.faces, 3, []);
  normals = reshape(scene.normals, 3, []);
  round_part = corners(3, :) > 1;
  cosine = abs(sum(corners .* normals)) ./ sqrt(sum(corners .^ 2));
  expect(min(cosine(round_part)) > 0.97, 'normals off the radius: %g', min(cosine(round_part)));
  flat_part = all(scene.faces(3, :, :) < 0.01, 2);
  expect(sum(flat_part) > 100 && median(abs(scene.normals(3, 1, flat_part))) > 0.999, ...
         'the closing face is flat');

  options.isosurface = [14 17];
  scene = kestrel.detail.level_surfaces('test', ball, axes, options);
  lowest_y = @(kind) min(min(scene.faces(2, :, scene.kind == kind)));
  expect(abs(lowest_y(1) + 3) < 0.1 && abs(lowest_y(2)) < 0.2, ...
         'the viewer, at negative y, sees the inner surface: %g, %g', lowest_y(1), lowest_y(2));
end

% What the colours and lines stand for.
function scales()
  grid = set_coordinate_grid(1e-3, -2e-3, 2e-3, 0, 0, 1e-3, 6e-3);
  p = 2.5e6 * exp(1j * reshape(1:30, 5, 1, 6));
  p(2) = 0;
  cases = {'dB', 'pressure, dB re peak', [-40 0]; 'linear', 'pressure amplitude (MPa)', [0 2.5]
           'signed', 'pressure (MPa)', [-2.5 2.5]; 'phase', 'phase (rad)', [-pi pi]};
  for i = 1:rows(cases)
    [ax, figure] = drawn(@() kestrel.show_field(p, grid, 'scale', cases{i, 1}));
    expect_close(get(ax, 'clim'), cases{i, 3}, 1e-12, '%s: range', cases{i, 1});
    labels = get(findall(figure, 'type', 'text'), 'string');
    expect(any(strcmp(labels, cases{i, 2})), '%s: label', cases{i, 1});
    if strcmp(cases{i, 1}, 'signed')
      expect_close(get(findobj(ax, 'type', 'image'), 'cdata'), 1e-6 * real(squeeze(p)), 1e-12, ...
                   'signed values');
    end
    close(figure);
  end
  [ax, figure] = drawn(@() kestrel.show_field(2e3 * p / 2.5e6, grid, 'scale', 'linear', ...
                                              'range', [0 5e3], 'colorbar', false));
  expect(isequal(get(ax, 'clim'), [0 5]) && numel(findall(figure, 'type', 'axes')) == 1, ...
         'a range in kilopascals, and no bar');
  close(figure);
  [panels, figure] = drawn(@() kestrel.show_field(p, grid, 'line', 'zx', 'scale', 'signed', ...
                                                  'at', [-1e-3 0 2e-3]));
  expect_close(get(findobj(panels(2), 'type', 'line'), 'ydata'), 1e-6 * real(p(:, 1, 2)).', ...
               1e-12, 'the field along x');
  close(figure);
  map = kestrel.detail.field_colours('phase');
  light = @(rgb) 116 * (((rgb + 0.055) / 1.055) .^ 2.4 * [0.2126; 0.7152; 0.0722]) .^ (1 / 3) - 16;
  expect(max(abs(light(map) - 70)) < 1.5 && norm(map(1, :) - map(end, :)) < 1e-9, ...
         'colours of phases: lightness %g to %g', min(light(map)), max(light(map)));
end

% Fields with nothing, with gaps, or of one value are drawn; missing values have no field's colour.
function odd_fields()
  grid = set_coordinate_grid(1e-3, -2e-3, 2e-3, 0, 2e-3, 1e-3, 6e-3);
  p = reshape(1:90, [5 3 6]);
  with_inf = p;
  with_inf([1 7 90]) = [Inf, NaN, -Inf];
  for field = {zeros(5, 3, 6), ones(5, 3, 6), 1e-310 * p, with_inf, int8(p)}
    for option = {'scale', 'scale', 'line'; 'linear', 'signed', 'xyz'}
      [~, figure] = drawn(@() kestrel.show_field(field{1}, grid, option{:}));
      close(figure);
    end
  end
  [ax, figure] = drawn(@() kestrel.show_field(with_inf, grid, 'slice', 'y', 'at', 0));
  colours = get(findobj(ax, 'type', 'image'), 'cdata');
  colours = (colours + 40) / 40;   % as gnuplot reads them
  expect_close(squeeze(colours(1, 1, :)), 0.75 * ones(3, 1), 1e-12, 'a missing value is grey');
  close(figure);
  [~, figure] = drawn(@() kestrel.show_field(sparse(ones(5, 1)), ...
                                             set_coordinate_grid(1e-3, 0, 4e-3, 0, 0, 0, 0)));
  close(figure);
end

% A figure of the toolkit that draws without a display, with what ACTION draws.
function [ax, handle] = drawn(action)
  toolkit = graphics_toolkit();
  warning('off', 'Octave:gnuplot-graphics', 'local');
  graphics_toolkit('gnuplot');
  handle = figure('visible', 'off');
  graphics_toolkit(toolkit);
  ax = action();
end

function arrays()
  shapes = {kestrel.rectangle(4e-3, 8e-3), kestrel.circle(4e-3), kestrel.ring(2e-3, 4e-3), ...
            kestrel.shell(5e-3, 9e-3), kestrel.shell_ring(2e-3, 5e-3, 9e-3)};
  picture(@(file) kestrel.show_array([shapes{:}], 'file', file));
  picture(@(file) kestrel.show_array([shapes{:}], 'file', file, 'view', [0 90], 'title', 'Above'));

  % Colours that show a quantity: each front's is that of its value, in the middle of the bar for 0.
  lines = kestrel.linear_array(3, 1e-3, 5e-3, 1.5e-3);
  lines(1).phase = -pi / 2;
  lines(3).phase = pi / 2;
  [ax, figure] = drawn(@() kestrel.show_array(lines, 'colour', 'phase', 'view', [20 60]));
  map = kestrel.detail.field_colours('phase');
  shown = squeeze(get(findobj(ax, 'type', 'patch'), 'facevertexcdata'));
  for value = [64 128 192]
    expect(min(sum(abs(shown - map(value, :)), 2)) < 0.05, 'no front has the colour %d', value);
  end
  expect(any(strcmp(get(findall(figure, 'type', 'text'), 'string'), 'phase (rad)')), ...
         'the bar has a label');
  close(figure);

  % The corners of what is drawn, against the element's frame worked out in another way.
  euler = [0.4 -0.3 0.7];
  element = kestrel.rectangle(4e-3, 8e-3, 'euler', euler, 'center', [1e-3 2e-3 3e-3]);
  faces = kestrel.detail.element_faces(element, false);
  corners = kestrel.detail.to_global(faces{1}, element.center, element.euler);
  [x, y, z] = local_points(element, corners.');
  expect_close([x y z], [-2 -4 0; 2 -4 0; 2 4 0; -2 4 0] * 1e-3, 1e-14, 'corners');
  % A cap is part of a sphere about (0, 0, curvature) that goes through the origin.
  faces = kestrel.detail.element_faces(shapes{4}, true);
  points = [faces{:}];
  radius = sqrt(points(1, :).^2 + points(2, :).^2 + (points(3, :) - 9e-3).^2);
  expect_close(radius, 9e-3 * ones(size(radius)), 1e-12, 'points of a cap');
  expect(max(points(3, :)) < 9e-3 && min(points(3, :)) < 1e-15, 'the cap is open towards +z');
end

% Titles and labels come from file names and data. They are shown letter by letter, and nothing in
% them reaches gnuplot or a shell as a command.
function texts()
  grid = set_coordinate_grid(1e-3, -2e-3, 2e-3, 0, 0, 1e-3, 6e-3);
  p = reshape(1:30, 5, 1, 6);
  trap = tempname();
  mkdir(trap);
  clean = onCleanup(@() remove_folder(trap));
  command = @(name) ['touch ', fullfile(trap, name)];
  evil = ['`', command('a'), '`"; system "', command('b'), '"; set title "', char(10), ...
          'system "', command('c'), '" # \"; system "', command('d'), '"; \'];
  picture(@(file) kestrel.show_field(p, grid, 'file', file, 'title', evil));
  picture(@(file) kestrel.show_field(p, grid, 'file', file, 'label', evil));
  volume = set_coordinate_grid(1e-3, -2e-3, 2e-3, 0, 2e-3, 1e-3, 6e-3);
  picture(@(file) kestrel.show_field(repmat(p, 1, 3), volume, 'file', file, 'label', evil, ...
                                     'title', evil));
  picture(@(file) kestrel.show_array(kestrel.circle(1e-3), 'file', file, 'title', evil));
  at_once = fullfile(trap, ['"`', strrep(command('e'), '/', '.'), '`;''.png']);
  kestrel.show_field(p, grid, 'file', at_once);
  expect(exist(at_once, 'file') == 2, 'a file name is a name, whatever it holds');
  delete(at_once);
  expect(numel(dir(trap)) == 2, 'a text was run as a command');

  % Escaped or not, two texts that TeX would show alike give two pictures.
  as_it_is = picture(@(file) kestrel.show_field(p, grid, 'file', file, 'title', 'a_1'));
  as_markup = picture(@(file) kestrel.show_field(p, grid, 'file', file, 'title', 'a_{1}'));
  expect(~isequal(as_it_is, as_markup), 'a title was taken for markup');
end

function remove_folder(folder)
  confirm_recursive_rmdir(false, 'local');
  rmdir(folder, 's');
end

% File names that begin with a dash, every kind of file, and one that cannot be written.
function files()
  grid = set_coordinate_grid(1e-3, -2e-3, 2e-3, 0, 0, 1e-3, 6e-3);
  p = reshape(1:30, 5, 1, 6);
  folder = tempname();
  mkdir(folder);
  clean = onCleanup(@() remove_folder(folder));
  before = cd(folder);
  back = onCleanup(@() cd(before));
  signatures = {'-x.png', [char(137), 'PNG']; 'x.PDF', '%PDF'; 'x.svg', '<?xml'};
  for i = 1:rows(signatures)
    kestrel.show_field(p, grid, 'file', signatures{i, 1});
    file = fopen(signatures{i, 1}, 'r');
    start = fread(file, [1, numel(signatures{i, 2})]);
    fclose(file);
    expect(isequal(start, double(signatures{i, 2})), '%s begins with %s', signatures{i, 1}, ...
           char(start));
  end
  mkdir('folder.png');
  expect_refused('kestrel.show_field', {
    {p, grid, 'file', 'folder.png'}, '''folder.png'' cannot be written: '
  });
end

function refusals()
  grid = small_grid();
  p = ones(3, 2, 4);
  plane = set_coordinate_grid([2 3 5] * 1e-3, -2e-3, 2e-3, 0, 0, 5e-3, 20e-3);
  expect_refusals('kestrel.show_field', {
    {p, set_coordinate_grid([1 2 3])}, 'only a regular grid can be drawn, not a list of points.'
    {p(:, 1, :), grid}, 'the grid has 3 by 2 by 4 points, but p has 12 values.'
    {1, set_coordinate_grid(1, 0, 0, 0, 0, 0, 0)}, 'the grid is a single point.'
    {p, grid, 'scale', 'log'}, 'scale must be one of ''dB'', ''linear'', ''signed'', ''phase''.'
    {p, grid, 'range', [0 0]}, 'range must be [low high] with low below high.'
    {p, grid, 'file', 'field.jpg'}, 'file must end in .png, .pdf or .svg, but it is ''field.jpg''.'
    {p, grid, 'file', 'no/such/folder/field.png'}, 'the folder ''no/such/folder'' does not exist.'
    {p, grid, 'colour', 1}, ...
      ['unknown option ''colour''; the options are ''scale'', ''range'', ''slice'', ''line'', ' ...
       '''at'', ''isosurface'', ''view'', ''label'', ''colorbar'', ''equal'', ''title'', ''file''.']
    {p, grid, 'at', 1}, 'at must have 3 entries, but it has 1.'
    {p, grid, 'slice', 'z', 'at', 26e-3}, ...
      'at is z = 26 mm, but the grid has z from 5 to 20 mm.'
    {p, grid, 'at', [0 0 -1e-3]}, 'at is z = -1 mm, but the grid has z from 5 to 20 mm.'
    {p(:, 1, :), plane, 'slice', 'y', 'at', 9e-3}, ...
      'at is y = 9 mm, but the grid has y from 0 to 0 mm.'
    {p, grid, 'line', 'xx'}, 'line must be ''x'', ''y'', ''z'' or several of them, as ''xz''.'
    {p(:, 1, :), plane, 'line', 'y'}, 'the grid has a single value of y.'
    {NaN(3, 2, 4), grid}, 'p has no finite value.'
    {{1}, grid}, 'p must be numeric.'
    {p > 0, grid}, 'p must be numeric.'
    {p, set_coordinate_grid([2 3 5] * 1e297, -2e297, 2e297, 0, 3e297, 5e297, 20e297)}, ...
      'the grid is 1.5e+298 m large, which cannot be drawn.'
    {1e300 * p, grid}, 'p has values up to 1e+300, too large to be drawn.'
    {p, grid, 'title', ['a'; 'b']}, 'title must be text.'
    {p, grid, 'isosurface', 1:5}, 'isosurface must have at most 4 levels.'
    {p, grid, 'isosurface', [-6 1]}, 'the isosurface must have a level between 0 and the peak.'
    {p(:, 1, :), plane, 'isosurface', -6}, ...
      'a surface needs a volume, a grid with three axes.'
  });
  expect_refusals('kestrel.show_array', {
    {repmat(kestrel.circle(1), 1, 0)}, 'the array has no elements.'
    {kestrel.circle(1e300)}, 'the array is 2e+300 m large, which cannot be drawn.'
    {kestrel.circle(1, 'center', [0 0 1e300]), 'colour', 'none'}, ...
      'the array lies up to 1e+300 m away, where nothing can be drawn.'
    {kestrel.circle(1e-3), 'colour', 'red'}, ...
      'colour must be one of ''none'', ''phase'', ''amplitude'', ''delay''.'
  });
end

% Draws to a file and reads it back; a blank or nearly blank picture fails.
function image = picture(draw)
  file = [tempname(), '.png'];
  remove = onCleanup(@() unlink(file));
  draw(file);
  expect(exist(file, 'file') == 2, 'no file was written');
  image = double(imread(file));
  if ndims(image) == 3
    image = mean(image, 3);
  end
  expect(numel(unique(image)) > 8 && mean(image(:) < 200) > 0.002, 'the picture is blank');
end

function expect_bright_at_top_right(image, what)
  % The picture proper: without the margins and the colour bar.
  area = image(round(0.12 * end:0.82 * end), round(0.12 * end:0.80 * end));
  level = @(rows, columns) mean(mean(area(round(rows * size(area, 1)), ...
                                          round(columns * size(area, 2)))));
  low = 0.05:0.01:0.15;
  high = 0.85:0.01:0.95;
  corners = [level(low, low), level(low, high), level(high, low), level(high, high)];
  expect(corners(2) > max(corners([1 3 4])) + 50, '%s: brightness of the corners is %s', what, ...
         mat2str(round(corners)));
end
