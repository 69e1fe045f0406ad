function [inner, outer, area] = element_edges(array)
%ELEMENT_EDGES  Radius and height of each element's inner and outer edge, and its area.
%   INNER and OUTER are 2-by-n; the height is over the element's centre, along its axis. A
%   rectangle's are 0.
  size_of = @(name) kestrel.detail.field_columns(array, name, 0);
  is_shape = @(name) strcmp({array.shape}, name);
  full = is_shape('circ') | is_shape('shel');
  open = is_shape('ring') | is_shape('sph ring');
  bend = size_of('rad_curvature') .* is_shape('shel') ...
         + size_of('geometric_focus') .* is_shape('sph ring');

  inner = [size_of('inner_radius') .* open; zeros(1, numel(array))];
  outer = [size_of('outer_radius') .* open + size_of('radius') .* full; zeros(1, numel(array))];
  area = pi * (outer(1, :) .^ 2 - inner(1, :) .^ 2);
  curved = bend > 0;
  height = @(radius) bend(curved) - sqrt(bend(curved) .^ 2 - radius(curved) .^ 2);
  inner(2, curved) = height(inner(1, :));
  outer(2, curved) = height(outer(1, :));
  area(curved) = 2 * pi * bend(curved) .* (outer(2, curved) - inner(2, curved));
  flat = is_shape('rect');
  sides = size_of('width') .* size_of('height');
  area(flat) = sides(flat);
end
