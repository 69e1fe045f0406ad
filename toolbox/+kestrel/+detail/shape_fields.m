function names = shape_fields(shape)
%SHAPE_FIELDS  Names of the geometry fields of an element shape.
%   With no argument: the shape identifiers. An unknown identifier gives {}.
  table = {'rect', {'width', 'height'}; ...
           'circ', {'radius'}; ...
           'ring', {'inner_radius', 'outer_radius'}; ...
           'shel', {'radius', 'rad_curvature'}; ...
           'sph ring', {'inner_radius', 'outer_radius', 'geometric_focus'}};
  if nargin == 0
    names = table(:, 1).';
    return
  end
  match = strcmp(shape, table(:, 1));
  if any(match)
    names = table{match, 2};
  else
    names = {};
  end
end
