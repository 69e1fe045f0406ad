function points = to_global(local, center, euler)
%TO_GLOBAL  Columns (x; y; z) of an element's frame in global coordinates.
  points = kestrel.detail.rotation_matrix(euler).' * local ...
           + repmat(double(center(:)), 1, size(local, 2));
end
