function factor = brightness(normals, directions, darkest)
%BRIGHTNESS  Factors for the colours of faces with unit NORMALS (3 by m by n), m by n.
%   The light comes from the viewer and from above: 1 where it meets a face squarely, DARKEST
%   where it passes along it. DIRECTIONS are the rows of view_axes.
  light = directions(1, :) + [0 0 0.5];
  cosine = abs(light / norm(light) * reshape(normals, 3, []));
  factor = reshape(darkest + (1 - darkest) * cosine, size(normals, 2), size(normals, 3));
end
