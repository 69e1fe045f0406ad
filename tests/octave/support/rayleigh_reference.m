function p = rayleigh_reference(element, grid, medium, nodes, f0)
%RAYLEIGH_REFERENCE  Field of one rectangle by the Rayleigh integral over its face.
%   NODES by NODES Gauss-Legendre points in doubles: with enough of them an
%   independent value for points that are not close to the face. P is a column in
%   the order of the grid's points; points behind the face get 0.
  [x, y, z] = local_points(element, grid_points(grid));
  k = 2 * pi * f0 / medium.soundspeed;
  alpha = medium.attenuationdBcmMHz * 100 * (f0 / 1e6) * log(10) / 20;
  [t, w] = gauss_legendre(nodes);
  p = zeros(size(x));
  for i = 1:nodes
    for j = 1:nodes
      r = sqrt((x - t(i) * element.width / 2) .^ 2 + (y - t(j) * element.height / 2) .^ 2 + z .^ 2);
      p = p + w(i) * w(j) * exp(-(alpha + 1j * k) * r) ./ r;
    end
  end
  scale = 1j * k * medium.density * medium.soundspeed / (2 * pi) ...
          * element.width * element.height / 4 * element.amplitude * exp(1j * element.phase);
  p = scale * p;
  p(z < 0) = 0;
end
