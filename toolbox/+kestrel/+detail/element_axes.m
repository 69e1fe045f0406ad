function [x, y, normal] = element_axes(array)
%ELEMENT_AXES  Unit vectors along each element's own x, y and z axis, as columns.
%   The rows of each kestrel.detail.rotation_matrix, for all elements at once.
  s = sin(kestrel.detail.field_columns(array, 'euler'));
  c = cos(kestrel.detail.field_columns(array, 'euler'));
  across = [c(1, :); zeros(1, numel(array)); -s(1, :)];   % x and y before the spin
  up = [s(2, :) .* s(1, :); c(2, :); s(2, :) .* c(1, :)];
  turned = @(a, b) [a; a; a] .* across + [b; b; b] .* up;
  x = turned(c(3, :), s(3, :));
  y = turned(-s(3, :), c(3, :));
  normal = [c(2, :) .* s(1, :); -s(2, :); c(2, :) .* c(1, :)];
end
