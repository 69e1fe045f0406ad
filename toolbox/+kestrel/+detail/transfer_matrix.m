function [h, path] = transfer_matrix(array, points, medium, f0)
%TRANSFER_MATRIX  What each element sends to each point, as from a simple source.
%   H is points by elements: area / distance times the propagation over PATH. A rectangle
%   is a source at its centre. On the axis of a disc, ring or shell the closed form
%   exp(-jk Ri) - exp(-jk Ro), of the distances to its inner and outer edge, has the phase
%   of the mean of the two, and the other sign once they differ by more than a wavelength.
%   Off the axis the root mean square around the edge stands for the distance.
  k = 2 * pi * f0 / medium.soundspeed;
  alpha = medium.attenuationdBcmMHz * 100 * (f0 / 1e6) * log(10) / 20;
  h = zeros(size(points, 1), numel(array));
  path = zeros(size(h));
  for i = 1:numel(array)
    element = array(i);
    local = kestrel.detail.rotation_matrix(element.euler) ...
            * (points.' - repmat(double(element.center(:)), 1, size(points, 1)));
    edges = edge_circles(element);
    near = to_edge(local, edges(1, :));
    far = to_edge(local, edges(2, :));
    path(:, i) = (near + far) / 2;
    turned = sin(k * abs(far - near) / 2) < 0;
    h(:, i) = (1 - 2 * turned) .* kestrel.detail.element_area(element) ./ path(:, i) ...
              .* exp(-(alpha + 1j * k) * path(:, i));
  end
end

% Radius and height of the inner and of the outer edge; for a rectangle, of its centre.
function edges = edge_circles(element)
  height = @(a, r) r - sqrt((r - a) * (r + a));
  edges = zeros(2);
  switch element.shape
    case 'circ'
      edges(2, :) = [element.radius, 0];
    case 'ring'
      edges(:, 1) = [element.inner_radius; element.outer_radius];
    case 'shel'
      edges(2, :) = [element.radius, height(element.radius, element.rad_curvature)];
    case 'sph ring'
      edges = [element.inner_radius, height(element.inner_radius, element.geometric_focus); ...
               element.outer_radius, height(element.outer_radius, element.geometric_focus)];
  end
end

function distance = to_edge(local, edge)
  distance = sqrt(local(1, :).^2 + local(2, :).^2 + edge(1)^2 + (local(3, :) - edge(2)).^2).';
end
