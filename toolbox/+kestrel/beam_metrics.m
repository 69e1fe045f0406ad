function metrics = beam_metrics(p, grid, varargin)
%BEAM_METRICS  Peak, widths and side lobes of a field on a regular grid.
%   METRICS = kestrel.beam_metrics(P, GRID) looks at the magnitude of the field P,
%   nx-by-ny-by-nz on the regular GRID, at its largest value and along the three lines
%   of grid points through it. METRICS is a structure; of its 1-by-3 fields the
%   entries are for x, y and z. Lengths are in metres.
%      peak           largest magnitude (in pascals, as P)
%      place          [x y z] of the peak
%      width_6db      full widths of the beam at -6 dB below the peak, the pressure
%                     then being 10^(-6/20) of it
%      width_3db      the same at -3 dB
%      edges_6db      2-by-3, the places on the axes between which width_6db lies: not
%                     always symmetric about the peak
%      edges_3db      2-by-3, the same for width_3db
%      side_lobe_db   level of the highest value beyond the first minimum on either
%                     side of the peak, in dB relative to the peak
%      gain           peak / source pressure, see below
%   A width is NaN on an axis with fewer than three values and where the field does not
%   fall to its level within the grid (the edge on that side is NaN too), and a
%   side-lobe level where the grid ends before a minimum.
%
%   The grid's largest value is refined, on each axis by the parabola through it and its
%   neighbours; the edges are found on a smooth monotone curve (pchip) through the
%   magnitudes. With ten points across a Gaussian beam its width is right to 0.1 percent.
%   Values that are not finite are left out.
%
%   METRICS = kestrel.beam_metrics(P, GRID, 'source_pressure', P0) divides by P0 pascals
%   for the gain. For a face velocity of v m/s take P0 = density * soundspeed * v.
%   Without it the gain is NaN.
%
%   Errors: a list of points instead of a regular grid, P of another size than the grid
%   or without a finite value above 0, an unknown option or value.
%
%   Example:
%      metrics = kestrel.beam_metrics(p, grid, 'source_pressure', 1000 * 1500);
%      fprintf('%.2f mm wide\n', 1e3 * metrics.width_6db(1));
%
%   See also kestrel.cw_field, kestrel.intensity, kestrel.show_field,
%   set_coordinate_grid.
  caller = 'kestrel.beam_metrics';
  kestrel.detail.check_count(caller, nargin, 2, '(p, grid, name, value, ...)');
  [p, values] = kestrel.detail.check_field(caller, p, grid, 'measured');
  options = kestrel.detail.parse_options(caller, struct('source_pressure', NaN), varargin);
  source = options.source_pressure;
  if ~isequaln(source, NaN)
    source = kestrel.detail.check_scalar(caller, 'source_pressure', source, 'positive');
  end
  magnitude = abs(double(p));
  magnitude(~isfinite(magnitude)) = NaN;
  [largest, index] = max(magnitude(:));
  if isempty(largest) || ~(largest > 0)
    error('kestrel:argument', '%s: p has no finite value above 0.', caller);
  end
  at = cell(1, 3);
  [at{:}] = ind2sub([cellfun(@numel, values), 1], index);

  lines = cell(1, 3);
  place = zeros(1, 3);
  rise = zeros(1, 3);
  for d = 1:3
    cut = at;
    cut{d} = ':';
    lines{d} = reshape(magnitude(cut{:}), 1, []);
    [place(d), rise(d)] = vertex(values{d}, lines{d}, at{d});
  end
  peak = largest + sum(rise);

  metrics = struct('peak', peak, 'place', place, 'width_6db', [], 'width_3db', [], ...
                   'edges_6db', NaN(2, 3), 'edges_3db', NaN(2, 3), ...
                   'side_lobe_db', NaN(1, 3), 'gain', peak / source);
  for d = 1:3
    if numel(values{d}) > 2
      % On a line the peak of the line counts, which is lower than the peak in space by what the
      % other two axes add; relative to it a beam has the same width on all parallel lines nearby.
      top = largest + rise(d);
      metrics.edges_6db(:, d) = edges(values{d}, lines{d}, at{d}, top * 10^(-6 / 20));
      metrics.edges_3db(:, d) = edges(values{d}, lines{d}, at{d}, top * 10^(-3 / 20));
      metrics.side_lobe_db(d) = 20 * log10(side_lobe(lines{d}, at{d}) / top);
    end
  end
  metrics.width_6db = diff(metrics.edges_6db);
  metrics.width_3db = diff(metrics.edges_3db);
end

% Vertex of the parabola through sample I and its neighbours: its place, and how far it lies
% above the sample. At an end of the line the sample itself.
function [place, rise] = vertex(x, y, i)
  place = x(i);
  rise = 0;
  if i == 1 || i == numel(x) || any(isnan(y(i - 1:i + 1)))
    return
  end
  bend = 2 * y(i) - y(i - 1) - y(i + 1);
  if bend > 0
    shift = (y(i + 1) - y(i - 1)) / (2 * bend);
    place = x(i) + shift * (x(i + 1) - x(i));
    rise = bend * shift^2 / 2;
  end
end

% Where the line first falls to LEVEL on either side of sample I.
function places = edges(x, y, i, level)
  places = NaN(2, 1);
  for side = 1:2
    last = numel(x);
    step = 1;
    if side == 1
      last = 1;
      step = -1;
    end
    for j = i:step:last - step
      if ~(y(j + step) > level)
        places(side) = crossing(x, y, min(j, j + step), level);
        break
      end
    end
  end
end

% Place between samples I and I + 1 at which the curve through the samples has the LEVEL.
function place = crossing(x, y, i, level)
  near = max(i - 2, 1):min(i + 3, numel(x));
  near = near(~isnan(y(near)));
  if any(isnan(y(i:i + 1))) || numel(near) < 2
    place = NaN;
    return
  end
  falling = y(i) > y(i + 1);
  part = x(i:i + 1);
  for pass = 1:5
    trial = linspace(part(1), part(2), 65);
    above = interp1(x(near), y(near), trial, 'pchip') > level;
    k = find(above(2:end) ~= falling, 1);   % the first 64th at whose end it is past the level
    part = trial([k, k + 1]);
  end
  place = mean(part);
end

% The largest value beyond the first minimum on either side of sample I; NaN without any.
function level = side_lobe(y, i)
  level = NaN;
  for side = {y(i:end), y(i:-1:1)}
    down = side{1};
    first = find(diff(down) > 0, 1);
    if ~isempty(first)
      level = max([level, down(first + 1:end)]);
    end
  end
end
