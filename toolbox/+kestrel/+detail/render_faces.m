function [image, x, y] = render_faces(scene, directions, shades, pixel)
%RENDER_FACES  Picture of the solid faces of a scene, each point as far as it is seen.
%   SCENE is that of draw_scene, with normals at all corners; DIRECTIONS are the rows of
%   view_axes, SHADES the number of shades of a colour, PIXEL a pixel's size. IMAGE has a
%   whole number in each pixel, (kind - 1) * SHADES + shade with shades from 1, and NaN where
%   there is nothing; X and Y are the places of its columns and rows.
%   Every triangle is sampled more finely than the pixels; of all samples in a pixel the
%   nearest is kept. So no triangle is drawn over what hides it, and none leaves a seam.
  % Faces of more than three corners as fans of triangles.
  corners = size(scene.faces, 2);
  fan = [ones(1, corners - 2); 2:corners - 1; 3:corners];
  faces = reshape(scene.faces(:, fan, :), 3, 3, []);
  normals = reshape(scene.normals(:, fan, :), 3, 3, []);
  kind = reshape(repmat(scene.kind(:).', corners - 2, 1), 1, []);
  count = size(faces, 3);
  flat = reshape(directions * reshape(faces, 3, []), 3, 3, count);
  bright = kestrel.detail.brightness(normals, directions, scene.darkest);
  depth = reshape(flat(1, :, :), 3, count);
  u = reshape(flat(2, :, :), 3, count);
  v = reshape(flat(3, :, :), 3, count);
  origin = [min(u(:)), min(v(:))];
  u = (u - origin(1)) / pixel;
  v = (v - origin(2)) / pixel;
  columns = ceil(max(u(:))) + 1;
  rows = ceil(max(v(:))) + 1;

  longest = max(hypot(u - u([2 3 1], :), v - v([2 3 1], :)), [], 1);
  parts = max(ceil(longest / 0.6), 1);
  image = NaN(rows, columns);
  nearest = -Inf(rows, columns);
  for n = unique(parts)
    [a, b] = meshgrid((0:n) / n);
    within = a + b <= 1 + 1e-9;
    a = a(within);
    b = b(within);
    weights = [a, b, 1 - a - b];
    some = find(parts == n);
    block = max(floor(2e6 / numel(a)), 1);   % samples at a time
    for first = 1:block:numel(some)
      these = some(first:min(first + block - 1, numel(some)));
      pixels = round(weights * v(:, these)) + 1 + rows * round(weights * u(:, these));
      height = weights * depth(:, these);
      shade = weights * bright(:, these);
      colour = min(max(ceil(shade * shades), 1), shades) ...
               + repmat((kind(these) - 1) * shades, numel(a), 1);
      [height, order] = sort(height(:));   % of equal pixels the last is stored
      pixels = pixels(order);
      colour = colour(order);
      [pixels, last] = unique(pixels, 'last');
      height = height(last);
      colour = colour(last);
      seen = height > nearest(pixels);
      nearest(pixels(seen)) = height(seen);
      image(pixels(seen)) = colour(seen);
    end
  end
  x = origin(1) + pixel * (0:columns - 1);
  y = origin(2) + pixel * (0:rows - 1);
end
