function p = rectangle_reference(element, grid, medium, ndiv, f0)
%RECTANGLE_REFERENCE  Field of one rectangle, in the arithmetic of fnm_cw_single.
%   The fast nearfield method with the geometry of each point in floats and the
%   exponentials, quotients and sums in doubles, written down step by step. Loops
%   run over nodes and integrals; each line works on all points at once. P is a
%   column in the order of the grid's points.
  [x, y, z] = local_points(element, grid_points(grid));
  x = single(x);
  y = single(y);
  z = single(z);

  % Constants of the medium, rounded to floats where the method does.
  wavelength = single(medium.soundspeed / f0);
  kneg = double(single(-6.2831855) / wavelength);
  aneg = double(single(medium.attenuationdBcmMHz * (-100) * f0 / 1000000 / 8.685889638065037));
  weight = [element.amplitude * cos(element.phase), element.amplitude * sin(element.phase)];
  prefactor = weight * double(single(medium.density)) * double(single(medium.soundspeed)) ...
              / double(single(-6.2831855));

  % Tables of the rule.
  a = element.width * 0.5;
  b = element.height * 0.5;
  [nodes, weights] = gauss_legendre(ndiv);
  nodes = double(single(nodes));
  weights = double(single(weights));
  t2 = single(((nodes + 1) * 0.5) .^ 2);
  unit_weight = weights * 0.5;
  x_node = single(nodes * a);
  x_weight = weights * a;
  y_node = single(nodes * b);
  y_weight = weights * b;

  af = single(a);
  bf = single(b);
  dxp = af + x;
  dxm = af - x;
  dyp = bf + y;
  dym = bf - y;
  z2 = z .* z;
  e0 = propagation(z, aneg, kneg);
  sum_re = zeros(size(z));
  sum_im = zeros(size(z));

  % Adds scale * integrand at the points of a mask, where q is the squared distance from the
  % projection of the point and scale the sum's weight apart from the node's.
  function add(mask, q, product, node_weight)
    e = propagation(sqrt(z2(mask) + q), aneg, kneg);
    e = e - e0(mask, :);
    qd = double(q);
    sum_re(mask) = sum_re(mask) + node_weight * (e(:, 1) .* product ./ qd);
    sum_im(mask) = sum_im(mask) + node_weight * (e(:, 2) .* product ./ qd);
  end

  % Integrals along the direction of the distances s, at the distances l across it.
  function integrate(split, whole, s, l, order, position, edge_node, edge_weight)
    for i = 1:ndiv
      for k = 1:4
        near = s{order(k, 1)}(split);
        across = l{order(k, 2)}(split);
        q = t2(i) * (near .* near) + across .* across;
        add(split, q, double(near) .* double(across), unit_weight(i));
      end
    end
    for i = 1:ndiv
      shifted = edge_node(i) + position(whole);
      u = shifted .* shifted;
      for k = 1:2
        across = l{k}(whole);
        add(whole, across .* across + u, double(across), edge_weight(i));
      end
    end
  end

  inside_x = dxp > 0 & dxm > 0;
  inside_y = dyp > 0 & dym > 0;
  integrate(inside_x, ~inside_x, {dxp, dxm}, {dyp, dym}, [1 1; 1 2; 2 1; 2 2], ...
            x, x_node, x_weight);
  integrate(inside_y, ~inside_y, {dyp, dym}, {dxp, dxm}, [2 1; 2 2; 1 1; 1 2], ...
            y, y_node, y_weight);

  p = complex(prefactor(1) * sum_re - prefactor(2) * sum_im, ...
              prefactor(1) * sum_im + prefactor(2) * sum_re);
  p(z < 0) = 0;
end

% exp(aneg r) * (cos, sin) of kneg r, as two columns.
function e = propagation(r, aneg, kneg)
  r = double(r);
  decay = exp(aneg * r);
  e = [decay .* cos(kneg * r), decay .* sin(kneg * r)];
end
