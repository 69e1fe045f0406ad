function [x, w] = gauss_legendre(n)
%GAUSS_LEGENDRE  Nodes and weights of the n-point rule on [-1, 1], as columns.
%   From the eigenvalues and eigenvectors of the Legendre polynomials' recurrence.
  k = 1:n - 1;
  b = k ./ sqrt(4 * k .^ 2 - 1);
  [v, nodes] = eig(diag(b, 1) + diag(b, -1));
  x = diag(nodes);
  w = 2 * v(1, :).' .^ 2;
end
