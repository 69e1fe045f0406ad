function [x, w] = gauss_legendre(n)
%GAUSS_LEGENDRE  Nodes, from +1 downwards, and weights of the n-point rule on [-1, 1].
%   An asymptotic guess of each root and one Newton step that is corrected by the
%   Taylor series of the polynomial; the other half follows by symmetry.
  m = floor((n + 1) / 2);
  e1 = n * (n + 1);
  x = zeros(n, 1);
  w = zeros(n, 1);
  for i = 1:m
    t = cos((4 * i - 1) * 3.14159265358979 / (4 * n + 2)) * (1 - (1 - 1 / n) / (8 * n * n));
    before = 1;
    p = t;
    for k = 2:n
      a = t * p;
      b = a - before;
      before = p;
      p = b - b / k + a;
    end
    d = 1 - t^2;
    dpn = n * (before - t * p);
    p1 = dpn / d;
    p2 = (2 * t * p1 - e1 * p) / d;
    p3 = ((2 - e1) * p1 + 4 * t * p2) / d;
    p4 = ((6 - e1) * p2 + 6 * t * p3) / d;
    u = p / p1;
    v = p2 / p1;
    h = -u * (1 + 0.5 * u * (v + u * (v^2 - u * p3 / (3 * p1))));
    value = p + h * (p1 + 0.5 * h * (p2 + (h / 3) * (p3 + 0.25 * h * p4)));
    slope = p1 + h * (p2 + 0.5 * h * (p3 + h * p4 / 3));
    h = h - value / slope;
    x(i) = t + h;
    f = dpn - h * e1 * (p + 0.5 * h * (p1 + (h / 3) * (p2 + 0.25 * h * (p3 + 0.2 * h * p4))));
    w(i) = 2 * (1 - x(i)^2) / f^2;
    x(n + 1 - i) = -x(i);
    w(n + 1 - i) = w(i);
  end
  if mod(n, 2) == 1
    x(m) = 0;
  end
end
