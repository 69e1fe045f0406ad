function p = surface_integral(array, points, medium, nodes, f0)
%SURFACE_INTEGRAL  Field of elements of any shape by the Rayleigh integral over their faces.
%   NODES by NODES Gauss-Legendre points on each face, in doubles; POINTS is m-by-3, P a
%   column. An independent value for points in front of all faces and not close to them.
  k = 2 * pi * f0 / medium.soundspeed;
  alpha = medium.attenuationdBcmMHz * 100 * (f0 / 1e6) * log(10) / 20;
  p = zeros(size(points, 1), 1);
  for element = array(:).'
    [places, areas] = face(element, nodes);
    [x, y, z] = local_points(element, points);
    strength = 1j * k * medium.density * medium.soundspeed / (2 * pi) ...
               * element.amplitude * exp(1j * element.phase);
    for i = 1:numel(p)
      r = sqrt((x(i) - places(1, :)) .^ 2 + (y(i) - places(2, :)) .^ 2 ...
               + (z(i) - places(3, :)) .^ 2);
      p(i) = p(i) + strength * sum(areas .* exp(-(alpha + 1j * k) * r) ./ r);
    end
  end
end

% Nodes (3 by m) and their areas. A circle is covered by radius and angle, a cap by the angle
% from its axis and the angle about it; the periodic one evenly.
function [places, areas] = face(element, nodes)
  [t, w] = gauss_legendre(nodes);
  turn = 2 * pi * ((1:2 * nodes) - 0.5) / (2 * nodes);
  switch element.shape
    case 'rect'
      [x, y] = ndgrid(t * element.width / 2, t * element.height / 2);
      places = [x(:), y(:), 0 * x(:)].';
      areas = reshape(w * w.', 1, []) * element.width * element.height / 4;
      return
    case 'circ'
      limits = [0, element.radius];
      bend = Inf;
    case 'ring'
      limits = [element.inner_radius, element.outer_radius];
      bend = Inf;
    case 'shel'
      bend = element.rad_curvature;
      limits = [0, asin(element.radius / bend)];
    case 'sph ring'
      bend = element.geometric_focus;
      limits = asin([element.inner_radius, element.outer_radius] / bend);
  end
  s = mean(limits) + t * diff(limits) / 2;
  w = w * diff(limits) / 2 * pi / nodes;
  height = zeros(size(s));
  radius = s;
  if ~isinf(bend)
    radius = bend * sin(s);
    height = bend * (1 - cos(s));
    w = w * bend;   % arc length
  end
  x = radius * cos(turn);
  y = radius * sin(turn);
  z = height * ones(size(turn));
  places = [x(:), y(:), z(:)].';
  areas = reshape((w .* radius) * ones(size(turn)), 1, []);
end
