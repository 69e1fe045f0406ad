function limits = draw_space_axes(ax, bounds, right, up, toward)
%DRAW_SPACE_AXES  Floor, far walls, ticks and labels of a box seen in parallel projection.
%   BOUNDS is [xmin xmax; ymin ymax; zmin zmax] in millimetres, RIGHT and UP are the
%   picture's directions in space, and TOWARD is the direction to the viewer. LIMITS
%   is the part of the plane, [left right below above], that the box and its labels
%   need.
  near = bounds(:, 1);
  far = bounds(:, 2);
  swap = toward(:) > 0;
  swap(3) = toward(3) >= 0;   % seen from the side, the floor is below
  near(swap) = bounds(swap, 2);
  far(swap) = bounds(swap, 1);
  floor_z = far(3);
  project = @(points) [right(:).'; up(:).'] * points;

  corners = zeros(3, 8);
  for i = 1:8
    corners(:, i) = [bounds(1, 1 + bitget(i - 1, 1)); bounds(2, 1 + bitget(i - 1, 2)); ...
                     bounds(3, 1 + bitget(i - 1, 3))];
  end
  flat = project(corners);
  middle = (min(flat, [], 2) + max(flat, [], 2)) / 2;
  size_2d = max(max(flat, [], 2) - min(flat, [], 2));

  % The vertical edge for z: where far and near walls meet, on the left.
  edge_a = project([far(1); near(2); 0]);
  edge_b = project([near(1); far(2); 0]);
  z_corner = [far(1); near(2)];
  if edge_b(1) < edge_a(1)
    z_corner = [near(1); far(2)];
  end

  % The corners and, about each text, as much room as it takes.
  needed = flat;
  names = 'xyz';
  anchors = [NaN, near(1), z_corner(1); near(2), NaN, z_corner(2); floor_z, floor_z, NaN];
  for d = 1:3
    ends = repmat(anchors(:, d), 1, 2);
    ends(d, :) = bounds(d, :);
    edge = project(ends);
    along = edge(:, 2) - edge(:, 1);
    ticks = nice_ticks(bounds(d, :), max(8 * norm(along) / size_2d, 3));
    others = setdiff(1:3, d);
    for t = [bounds(d, :), ticks]
      % One line across each of the two far planes that the tick's plane cuts.
      for o = others
        line_ends = repmat(far, 1, 2);
        line_ends(d, :) = t;
        line_ends(o, :) = bounds(o, :);
        draw(ax, project(line_ends), [0.85 0.85 0.85]);
      end
    end
    draw(ax, edge, [0.3 0.3 0.3]);
    outward = [-along(2); along(1)] / max(norm(along), eps);
    if outward.' * (mean(edge, 2) - middle) < 0
      outward = -outward;
    end
    if norm(along) < 0.02 * size_2d
      continue   % seen end on: nothing to read along it
    end
    for t = ticks
      at = ends(:, 1);
      at(d) = t;
      place = project(at);
      draw(ax, [place, place + 0.012 * size_2d * outward], [0.3 0.3 0.3]);
      place = place + 0.045 * size_2d * outward;
      text(place(1), place(2), sprintf('%g', t), 'parent', ax, 'fontsize', 10, ...
           'horizontalalignment', 'center', 'verticalalignment', 'middle');
      needed = [needed, place + 0.03 * size_2d, place - 0.03 * size_2d];
    end
    place = mean(edge, 2) + 0.105 * size_2d * outward;
    needed = [needed, place + [0.07; 0.03] * size_2d, place - [0.07; 0.03] * size_2d];
    text(place(1), place(2), [names(d), ' (mm)'], 'parent', ax, 'fontsize', 11, ...
         'horizontalalignment', 'center', 'verticalalignment', 'middle');
  end
  limits = [min(needed, [], 2), max(needed, [], 2)].';
  limits = limits(:).' + 0.01 * size_2d * [-1 1 -1 1];
end

function draw(ax, ends, colour)
  plot(ax, ends(1, :), ends(2, :), 'color', colour, 'linewidth', 0.5);
end

% Multiples of 1, 2 or 5 times a power of ten inside the limits, at most COUNT or so.
function ticks = nice_ticks(limits, count)
  raw = diff(limits) / min(count, 6);
  scale = 10^floor(log10(raw));
  choices = [1 2 5 10] * scale;
  step = choices(find(choices >= raw, 1));
  ticks = (ceil(limits(1) / step):floor(limits(2) / step)) * step;
  ticks(ticks == 0) = 0;   % no "-0"
end
