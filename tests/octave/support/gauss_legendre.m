function [x, w] = gauss_legendre(n)
%GAUSS_LEGENDRE  Nodes and weights of the n-point rule on [-1, 1], as columns.
%   Eigenvalues and eigenvectors of the recursion's matrix (Golub and Welsch).
  k = 1:n - 1;
  beside = k ./ sqrt(4 * k .^ 2 - 1);
  [vectors, values] = eig(diag(beside, 1) + diag(beside, -1));
  x = diag(values);
  w = 2 * vectors(1, :).' .^ 2;
end
