function [h, path] = transfer_matrix(array, points, medium, f0)
%TRANSFER_MATRIX  What each element sends to each point, as from a simple source.
%   H is points by elements: area / distance times the propagation over PATH. A rectangle
%   is a source at its centre. On the axis of a disc, ring or shell the closed form
%   exp(-jk Ri) - exp(-jk Ro), of the distances to its inner and outer edge, has the phase
%   of the mean of the two, and the other sign once they differ by more than a wavelength.
%   Off the axis the root mean square around the edge stands for the distance.
  k = 2 * pi * f0 / medium.soundspeed;
  alpha = medium.attenuationdBcmMHz * 100 * (f0 / 1e6) * log(10) / 20;
  [inner, outer, area] = kestrel.detail.element_edges(array);
  center = kestrel.detail.field_columns(array, 'center');
  [~, ~, normal] = kestrel.detail.element_axes(array);
  h = zeros(size(points, 1), numel(array));
  path = zeros(size(h));
  for i = 1:size(points, 1)
    to_point = repmat(points(i, :).', 1, numel(array)) - center;
    squared = sum(to_point .^ 2, 1);
    along = sum(to_point .* normal, 1);
    near = to_edge(squared, along, inner);
    far = to_edge(squared, along, outer);
    path(i, :) = (near + far) / 2;
    turned = sin(k * abs(far - near) / 2) < 0;
    h(i, :) = (1 - 2 * turned) .* area ./ path(i, :) .* exp(-(alpha + 1j * k) * path(i, :));
  end
end

% Root mean square of the distances to an edge of radius EDGE(1, :) at the height EDGE(2, :)
% over the centre, for points at a squared distance and a height ALONG the axis from that.
function distance = to_edge(squared, along, edge)
  distance = sqrt(max(squared + edge(1, :) .^ 2 + edge(2, :) .* (edge(2, :) - 2 * along), 0));
end
