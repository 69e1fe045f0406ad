function draw_scene(canvas, scene, direction)
%DRAW_SCENE  Polygons and lines in space, seen from a direction, with axes about them.
%   SCENE has faces (3 by corners by count, in millimetres, their last corner repeated where
%   others have more) and
%      colour   a row for each kind of face
%      kind     number of each face's kind (1 by count)
%      darkest  factor for the colours of faces that the light passes along; 1 for no light
%      solid    true: convex faces, each seen as far as no other hides it, and without
%               frames. False: faces drawn from far to near, framed if wide enough
%      normals  of solid ones only, may be left out: the normals at the corners, of triangles
%               (3 by 3 by count). Without them the backs of faces are grey
%      range    of solid ones: the colour bar's, [0 1] without one
%      edge     colour of the frames
%      lines    3 by m, NaN between two
%      legend   a text for each kind, or empty
%   DIRECTION is [azimuth elevation] in degrees. Octave's gnuplot can neither fill faces in
%   space nor use the page at equal scale: there the scene is drawn in parallel projection
%   on plain axes.
  directions = kestrel.detail.view_axes(direction);
  ax = canvas.axes;
  coloured = face_colours(scene, directions);
  if ~kestrel.detail.uses_gnuplot(canvas.figure)
    edge = scene.edge;
    if scene.solid
      edge = 'none';
    end
    part = @(d) reshape(scene.faces(d, :, :), size(scene.faces, 2), []);
    colours = reshape(coloured.colour(coloured.kind, :), 1, [], 3);
    factor = kestrel.detail.brightness(mean(coloured.normals, 2), directions, scene.darkest);
    colours = colours .* factor(:).';
    patch(part(1), part(2), part(3), colours, 'parent', ax, 'edgecolor', edge);
    line(scene.lines(1, :), scene.lines(2, :), scene.lines(3, :), 'parent', ax, ...
         'color', pointer_colour());
    axis(ax, 'equal');
    grid(ax, 'on');
    view(ax, direction(1), direction(2));
    xlabel(ax, 'x (mm)');
    ylabel(ax, 'y (mm)');
    zlabel(ax, 'z (mm)');
    draw_legend(ax, scene);
    return
  end

  all_points = [reshape(scene.faces, 3, []), scene.lines];
  bounds = [min(all_points, [], 2), max(all_points, [], 2)];
  extent = diff(bounds, 1, 2);
  extent = max(extent, 0.1 * max(extent));
  middle = mean(bounds, 2);
  middle(3) = bounds(3, 1) + extent(3) / 2;   % what is flat lies on the floor
  bounds = [middle - 0.54 * extent, middle + 0.54 * extent];
  bounds(3, 1) = middle(3) - extent(3) / 2;

  hold(ax, 'on');
  limits = kestrel.detail.draw_space_axes(ax, bounds, directions);
  if scene.solid
    draw_solid(ax, coloured, directions, limits);
  else
    inches = min(7.8 / diff(limits(1:2)), 6.4 / diff(limits(3:4)));   % a millimetre's, on the page
    draw_polygons(ax, coloured, directions, inches);
  end
  if ~isempty(scene.lines)
    ends = directions(2:3, :) * scene.lines;
    plot(ax, ends(1, :), ends(2, :), 'color', pointer_colour(), 'linewidth', 2);
  end
  draw_legend(ax, scene);
  hold(ax, 'off');

  axis(ax, 'equal');
  axis(ax, limits);
  set(ax, 'visible', 'off');
  set(get(ax, 'title'), 'visible', 'on');
  if ~isempty(canvas.file)
    kestrel.detail.fit_page(canvas, diff(limits(1:2)) / diff(limits(3:4)));
  end
end

% The scene with normals at all corners, and where it brings none, a kind for backs of faces.
function scene = face_colours(scene, directions)
  if isfield(scene, 'normals')
    return
  end
  [count, corners] = deal(size(scene.faces, 3), size(scene.faces, 2));
  % A normal as the sum over the edges: two corners may coincide, as at the apex of a cap.
  next = scene.faces(:, [2:end, 1], :);
  normal = sum(cross(scene.faces, next, 1), 2);
  normal = normal ./ max(sqrt(sum(normal .^ 2, 1)), realmin);
  back = directions(1, :) * reshape(normal, 3, count) <= 0;
  scene.normals = repmat(normal, 1, corners);
  scene.colour = [scene.colour; 0.82 0.82 0.82];
  scene.kind(back) = size(scene.colour, 1);
end

% Solid faces as an image, behind whose parts the lines drawn so far disappear.
function draw_solid(ax, scene, directions, limits)
  shades = 64;
  pixel = max(diff(limits([1 2])), diff(limits([3 4]))) / 900;
  lines = findobj(ax, 'type', 'line');
  [image, x, y] = kestrel.detail.render_faces(scene, directions, shades, pixel);
  map = kron(scene.colour, (1:shades).' / shades);
  for handle = lines.'
    ends = [get(handle, 'xdata'); get(handle, 'ydata')];
    count = ceil(max(abs(diff(ends, 1, 2))) / pixel) + 2;
    u = linspace(ends(1, 1), ends(1, 2), count);
    v = linspace(ends(2, 1), ends(2, 2), count);
    column = round((u - x(1)) / pixel) + 1;
    row = round((v - y(1)) / pixel) + 1;
    inside = column >= 1 & column <= numel(x) & row >= 1 & row <= numel(y);
    hidden = inside;
    hidden(inside) = ~isnan(image(sub2ind(size(image), row(inside), column(inside))));
    u(hidden) = NaN;
    set(handle, 'xdata', u, 'ydata', v);
  end
  image(isnan(image)) = size(map, 1) + 1;
  kestrel.detail.draw_pixels(ax, x, y, image, [map; 1 1 1], scene.range);
  below = findobj(ax, 'type', 'image');
  others = get(ax, 'children');
  set(ax, 'children', [others(others ~= below); below]);   % the white about the faces as well
end

% Polygons from far to near. When the narrowest is less than 10 pixels wide, frames are fainter, and
% with less than 3 there are none: their lines would run together.
function draw_polygons(ax, scene, directions, inches)
  count = size(scene.faces, 3);
  flat = reshape(directions * reshape(scene.faces, 3, []), 3, [], count);
  depth = reshape(mean(flat(1, :, :), 2), 1, []);
  [~, order] = sort(depth);
  x = reshape(flat(2, :, order), [], count);
  y = reshape(flat(3, :, order), [], count);
  colours = scene.colour(scene.kind(order), :);
  colours = reshape(colours, 1, count, 3);
  factor = kestrel.detail.brightness(scene.normals(:, 1, order), directions, scene.darkest);
  colours = colours .* factor(:).';
  area = abs(sum(x .* y([2:end, 1], :) - x([2:end, 1], :) .* y, 1)) / 2;
  across = hypot(max(x, [], 1) - min(x, [], 1), max(y, [], 1) - min(y, [], 1));
  pixels = 125 * inches * min(area ./ max(across, realmin));
  edge = scene.edge;
  if pixels < 3
    edge = 'none';
  elseif pixels < 10
    edge = 0.35 * edge + 0.65 * scene.colour(1, :);
  end
  patch(x, y, colours, 'parent', ax, 'edgecolor', edge, 'linewidth', 0.5);
end

function colour = pointer_colour()
  colour = [0.85 0.40 0.10];
end

% The texts of the legend below one another, each in its faces' colour.
function draw_legend(ax, scene)
  for i = 1:numel(scene.legend)
    words = text(0.02, 1.02 - 0.045 * i, ' ', 'parent', ax, 'units', 'normalized', ...
                 'color', 0.8 * scene.colour(i, :), 'fontweight', 'bold');
    kestrel.detail.write_text(words, scene.legend{i});
  end
end
