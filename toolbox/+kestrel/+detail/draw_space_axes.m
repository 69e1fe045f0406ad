function limits = draw_space_axes(ax, bounds, directions)
%DRAW_SPACE_AXES  Floor, far walls, ticks and labels of a box seen in parallel projection.
%   BOUNDS is [xmin xmax; ymin ymax; zmin zmax] in millimetres and DIRECTIONS the rows of
%   view_axes. LIMITS is the part of the plane, [left right below above], that the box and
%   its labels need.
  toward = directions(1, :).';
  project = @(points) directions(2:3, :) * points;
  near = bounds(:, 1);
  far = bounds(:, 2);
  swap = toward > 0;
  swap(3) = toward(3) >= 0;   % seen from the side, the floor is below
  near(swap) = bounds(swap, 2);
  far(swap) = bounds(swap, 1);
  floor_z = far(3);

  corners = zeros(3, 8);
  for i = 1:8
    corners(:, i) = [bounds(1, 1 + bitget(i - 1, 1)); bounds(2, 1 + bitget(i - 1, 2)); ...
                     bounds(3, 1 + bitget(i - 1, 3))];
  end
  flat = project(corners);
  middle = (min(flat, [], 2) + max(flat, [], 2)) / 2;
  size_2d = max(flat, [], 2) - min(flat, [], 2);
  % One inch of the page in the picture's unit: the box and, about it, texts fill 8 by 6.4 inches.
  inch = max(size_2d ./ [6.2; 5.2]);

  % The vertical edge for z: where far and near walls meet, on the left.
  edge_a = project([far(1); near(2); 0]);
  edge_b = project([near(1); far(2); 0]);
  z_corner = [far(1); near(2)];
  if edge_b(1) < edge_a(1)
    z_corner = [near(1); far(2)];
  end

  needed = flat;
  taken = zeros(2, 0, 2);   % lower left and upper right corners of the ticks' texts
  names = 'xyz';
  anchors = [NaN, near(1), z_corner(1); near(2), NaN, z_corner(2); floor_z, floor_z, NaN];
  for d = 1:3
    ends = repmat(anchors(:, d), 1, 2);
    ends(d, :) = bounds(d, :);
    edge = project(ends);
    along = edge(:, 2) - edge(:, 1);
    seen = norm(along) / inch;   % inches
    % So many that their texts do not touch: half an inch apart, or less on a steep axis.
    apart = max(0.55 * abs(along(1)), 0.3 * abs(along(2))) / max(norm(along), realmin);
    ticks = kestrel.detail.nice_ticks(bounds(d, :), max(floor(seen / apart), 2));
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
    outward = [-along(2); along(1)] / max(norm(along), realmin);
    if outward.' * (mean(edge, 2) - middle) < 0
      outward = -outward;
    end
    if seen < 0.15
      continue   % seen end on: nothing to read along it
    end
    % A text's centre lies so far out that its box ends where the tick, or the text before, does.
    words = arrayfun(@(t) sprintf('%g', t), ticks, 'UniformOutput', false);
    half = @(word, points) [0.6 * numel(word); 1.2] * points / 144;
    reach = @(word, points) abs(outward.') * half(word, points);
    out = 0.12;
    for i = 1:numel(ticks)
      at = ends(:, 1);
      at(d) = ticks(i);
      place = project(at);
      draw(ax, [place, place + 0.08 * inch * outward], [0.3 0.3 0.3]);
      place = place + (0.12 + reach(words{i}, 10)) * inch * outward;
      box = [place - inch * half(words{i}, 10), place + inch * half(words{i}, 10)];
      if any(all(taken(:, :, 1) < box(:, 2) & taken(:, :, 2) > box(:, 1), 1))
        continue   % where two axes meet, their first ticks may
      end
      taken(:, end + 1, :) = box;
      write(ax, place, words{i}, 10);
      needed = [needed, box];
      out = max(out, 0.12 + 2 * reach(words{i}, 10));
    end
    label = [names(d), ' (mm)'];
    place = mean(edge, 2) + (out + 0.05 + reach(label, 11)) * inch * outward;
    write(ax, place, label, 11);
    needed = [needed, place + inch * half(label, 11), place - inch * half(label, 11)];
  end
  limits = [min(needed, [], 2), max(needed, [], 2)].';
  limits = limits(:).' + 0.05 * inch * [-1 1 -1 1];
end

function draw(ax, ends, colour)
  plot(ax, ends(1, :), ends(2, :), 'color', colour, 'linewidth', 0.5);
end

function write(ax, place, words, points)
  text(place(1), place(2), words, 'parent', ax, 'fontsize', points, ...
       'horizontalalignment', 'center', 'verticalalignment', 'middle');
end
