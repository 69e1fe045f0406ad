function draw_scene(canvas, scene, direction)
%DRAW_SCENE  Polygons and lines in space, seen from a direction, with axes about them.
%   SCENE has faces (3 by corners by count, in millimetres), colour and edge (1 by 3, edge
%   'none' for none), shaded (whether faces are lit from the viewer; else their backs are
%   grey) and lines (3 by m, NaN between two). DIRECTION is [azimuth elevation] in degrees.
%   Octave's gnuplot can neither fill faces in space nor use the page at equal scale: there
%   the scene is drawn in parallel projection on plain axes, faces from far to near.
  azimuth = direction(1) * pi / 180;
  elevation = direction(2) * pi / 180;
  toward = [cos(elevation) * sin(azimuth), -cos(elevation) * cos(azimuth), sin(elevation)];
  right = [cos(azimuth), sin(azimuth), 0];
  up = cross(toward, right);
  count = size(scene.faces, 3);
  along = @(d) reshape(d * reshape(scene.faces, 3, []), [], count);
  ax = canvas.axes;

  if ~kestrel.detail.uses_gnuplot(canvas.figure)
    colours = face_colours(scene, toward, along(right), along(up));
    if ~scene.shaded
      colours = repmat(reshape(scene.colour, 1, 1, 3), 1, count);
    end
    patch(along([1 0 0]), along([0 1 0]), along([0 0 1]), colours, 'parent', ax, ...
          'edgecolor', scene.edge);
    line(scene.lines(1, :), scene.lines(2, :), scene.lines(3, :), 'parent', ax, ...
         'color', [0.85 0.40 0.10]);
    axis(ax, 'equal');
    grid(ax, 'on');
    view(ax, direction(1), direction(2));
    xlabel(ax, 'x (mm)');
    ylabel(ax, 'y (mm)');
    zlabel(ax, 'z (mm)');
    return
  end

  all_points = [reshape(scene.faces, 3, []), scene.lines];
  bounds = [min(all_points, [], 2), max(all_points, [], 2)];
  extent = diff(bounds, 1, 2);
  extent = max(extent, 0.1 * max(extent)) * 1.08;
  bounds = mean(bounds, 2) + [-0.5 * extent, 0.5 * extent];

  hold(ax, 'on');
  limits = kestrel.detail.draw_space_axes(ax, bounds, right, up, toward);
  [~, order] = sort(mean(along(toward), 1));
  scene.faces = scene.faces(:, :, order);
  x = along(right);
  y = along(up);
  x = x(:, order);
  y = y(:, order);
  colours = face_colours(scene, toward, x, y);
  patch(x, y, colours, 'parent', ax, 'edgecolor', scene.edge, 'linewidth', 0.5);
  if ~isempty(scene.lines)
    ends = [right; up] * scene.lines;
    plot(ax, ends(1, :), ends(2, :), 'color', [0.85 0.40 0.10], 'linewidth', 1);
  end
  hold(ax, 'off');

  axis(ax, 'equal');
  axis(ax, limits);
  set(ax, 'visible', 'off');
  set(get(ax, 'title'), 'visible', 'on');
  if ~isempty(canvas.file)
    kestrel.detail.fit_page(canvas, diff(limits(1:2)) / diff(limits(3:4)));
  end
end

% Colours (1 by count by 3) of faces whose projected corners are X and Y.
function colours = face_colours(scene, toward, x, y)
  count = size(scene.faces, 3);
  if scene.shaded
    a = reshape(scene.faces(:, 2, :) - scene.faces(:, 1, :), 3, count);
    b = reshape(scene.faces(:, 3, :) - scene.faces(:, 1, :), 3, count);
    normal = cross(a, b);
    light = toward + [0 0 0.5];
    light = light / norm(light);
    brightness = 0.35 + 0.65 * abs(light * normal) ./ max(sqrt(sum(normal .^ 2, 1)), realmin);
    colours = bsxfun(@times, brightness, reshape(scene.colour, 1, 1, 3));
    return
  end
  % Seen from the front the corners run counter-clockwise.
  front = sum(x .* y([2:end, 1], :) - x([2:end, 1], :) .* y, 1) > 0;
  colours = repmat(reshape([0.82 0.82 0.82], 1, 1, 3), 1, count);
  colours(1, front, :) = repmat(reshape(scene.colour, 1, 1, 3), 1, sum(front));
end
