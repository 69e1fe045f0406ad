function scene = level_surfaces(caller, p, values, options)
%LEVEL_SURFACES  The surfaces on which the magnitude of P has levels, as a scene to draw.
%   A surface is closed where it leaves the grid. Of several, all but that of the highest
%   level are left out on the viewer's side of the largest value, so that those inside show.
  levels = options.isosurface;
  kestrel.detail.check_numbers(caller, 'isosurface', levels);
  levels = sort(double(levels(:).'), 'descend');
  colours = [0.95 0.55 0.20; 0.36 0.56 0.84; 0.45 0.68 0.40; 0.66 0.47 0.76];
  if numel(levels) > size(colours, 1)
    error('kestrel:option', '%s: isosurface must have at most %d levels.', caller, ...
          size(colours, 1));
  end
  magnitude = abs(p);
  magnitude(~isfinite(magnitude)) = 0;
  [peak, index] = max(magnitude(:));
  switch options.scale
    case 'dB'
      levels = peak * 10 .^ (levels / 20);
    case {'signed', 'phase'}
      error('kestrel:option', '%s: a surface shows magnitudes: scale must be dB or linear.', ...
            caller);
  end
  if ~all(levels > 0 & levels < peak)
    error('kestrel:option', '%s: the isosurface must have a level between 0 and the peak.', ...
          caller);
  end
  place = cell(1, 3);
  [place{:}] = ind2sub(size(magnitude), index);
  place = cellfun(@(v, i) v(i), values, place);
  toward = kestrel.detail.view_axes(options.view);
  toward = toward(1, :);
  [~, across] = max(abs(toward));

  scene = struct('faces', {cell(1, numel(levels))}, 'normals', {cell(1, numel(levels))}, ...
                 'kind', [], 'colour', colours, 'edge', 'none', 'solid', true, ...
                 'darkest', 0.3, 'range', [0 1], 'lines', zeros(3, 0), 'legend', {{}});
  for m = 1:numel(levels)
    cut = Inf;
    if m > 1
      % Each a little behind the one before, so that no two cut faces lie in one plane.
      at = values{across};
      cut = place(across) - sign(toward(across)) * 0.005 * (m - 1) * (at(end) - at(1));
    end
    [faces, normals] = surface_at(values, magnitude, levels(m), place, across, ...
                                  toward(across), cut);
    scene.faces{m} = 1e3 * faces;
    scene.normals{m} = normals;
    scene.kind = [scene.kind, m * ones(1, size(faces, 3))];
  end
  scene.faces = cat(3, scene.faces{:});
  scene.normals = cat(3, scene.normals{:});
  if numel(levels) > 1
    scene.legend = arrayfun(@(level) sprintf('%g', level), ...
                            sort(options.isosurface(:).', 'descend'), 'UniformOutput', false);
  end
end

% Triangles of the surface (3 by 3 by count, in metres) and the normals at their corners. PLACE is
% that of the peak. With a finite CUT, what lies beyond that place on the axis ACROSS, on the
% viewer's side, is left out.
function [faces, normals] = surface_at(values, magnitude, level, place, across, side, cut)
  % Only the part that the surface is in, and no finer than a picture shows.
  inside = magnitude >= level;
  wanted = cell(1, 3);
  for d = 1:3
    others = setdiff(1:3, d);
    seen = find(any(any(inside, others(1)), others(2)));
    part = max(seen(1) - 1, 1):min(seen(end) + 1, numel(values{d}));
    wanted{d} = values{d}(part);
    if numel(part) > 60
      wanted{d} = unique([linspace(wanted{d}(1), wanted{d}(end), 60), place(d)]);
    end
  end
  if isfinite(cut) && cut > wanted{across}(1) && cut < wanted{across}(end)
    wanted{across} = unique([wanted{across}, cut]);
  end
  [x, y, z] = ndgrid(wanted{:});
  magnitude = interpn(values{:}, magnitude, x, y, z);
  % Far below the level outside the grid and beyond the cut: the surface closes right there.
  outside = -1e6 * max(magnitude(:));
  if isfinite(cut)
    beyond = {':', ':', ':'};
    beyond{across} = (wanted{across} - cut) * sign(side) > 0;
    magnitude(beyond{:}) = outside;
  end
  if ~any(magnitude(:) > level)
    faces = zeros(3, 3, 0);
    normals = faces;
    return
  end
  padded = outside * ones(size(magnitude) + 2);
  padded(2:end - 1, 2:end - 1, 2:end - 1) = magnitude;
  for d = 1:3
    w = wanted{d};
    wanted{d} = [2 * w(1) - w(2), w, 2 * w(end) - w(end - 1)];
  end
  [x, y, z] = meshgrid(wanted{:});
  found = isosurface(x, y, z, permute(padded, [2 1 3]), level);

  corners = found.faces.';
  at = @(k) found.vertices(corners(k, :), :);
  flat = cross(at(2) - at(1), at(3) - at(1), 2);
  kept = any(flat ~= 0, 2);   % triangles without an area are no part of the picture
  corners = corners(:, kept);
  flat = flat(kept, :);
  faces = reshape(found.vertices(corners(:), :).', 3, 3, []);

  % At a corner the mean normal of the triangles that meet there, weighed by their areas; but the
  % triangle's own where an edge is meant, as at a cut.
  mean_normal = zeros(size(found.vertices));
  for d = 1:3
    mean_normal(:, d) = accumarray(corners(:), reshape(repmat(flat(:, d).', 3, 1), [], 1), ...
                                   [size(found.vertices, 1), 1]);
  end
  unit = @(v) v ./ max(sqrt(sum(v .^ 2, 2)), realmin);
  own = unit(kron(flat, ones(3, 1)));
  normals = unit(mean_normal(corners(:), :));
  sharp = sum(own .* normals, 2) < 0.7;
  normals(sharp, :) = own(sharp, :);
  normals = reshape(normals.', 3, 3, []);
end
