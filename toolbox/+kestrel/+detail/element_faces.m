function [faces, extent] = element_faces(element)
%ELEMENT_FACES  Polygons that show an element, in its own frame.
%   FACES is a cell row of 3-by-m corners, counter-clockwise as seen from where the
%   element radiates to. EXTENT is its smallest half-extent across its axis.
  switch element.shape
    case 'rect'
      a = element.width / 2;
      b = element.height / 2;
      faces = {[-a a a -a; -b -b b b; 0 0 0 0]};
      extent = min(a, b);
    case 'circ'
      faces = {circle(element.radius, 0, 49)};
      extent = element.radius;
    case 'ring'
      outer = circle(element.outer_radius, 0, 49);
      inner = circle(element.inner_radius, 0, 49);
      faces = {[outer, fliplr(inner)]};   % one polygon, cut open at angle 0
      extent = element.outer_radius;
    case 'shel'
      faces = cap(0, element.radius, element.rad_curvature);
      extent = element.radius;
    case 'sph ring'
      faces = cap(element.inner_radius, element.outer_radius, element.geometric_focus);
      extent = element.outer_radius;
  end
end

function points = circle(radius, height, count)
  t = linspace(0, 2 * pi, count);
  points = [radius * cos(t); radius * sin(t); height * ones(size(t))];
end

% Quadrilaterals between circles and meridians of a spherical zone, apex at the origin.
function faces = cap(inner, outer, curvature)
  steps = 4;
  sectors = 24;
  faces = cell(steps, sectors);
  radius = linspace(inner, outer, steps + 1);
  height = curvature - sqrt(max(curvature^2 - radius.^2, 0));
  for i = 1:steps
    below = circle(radius(i), height(i), sectors + 1);
    above = circle(radius(i + 1), height(i + 1), sectors + 1);
    for j = 1:sectors
      faces{i, j} = [below(:, j), above(:, j), above(:, j + 1), below(:, j + 1)];
    end
  end
  faces = faces(:).';
end
