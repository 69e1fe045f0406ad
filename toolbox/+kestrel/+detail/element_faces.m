function faces = element_faces(element, meshed)
%ELEMENT_FACES  Polygons that show an element, in its own frame.
%   FACES is a cell row of 3-by-m corners, counter-clockwise as seen from where the
%   element radiates to. With MESHED true all are convex, and a ring is made of many;
%   else a flat element has one.
  switch element.shape
    case 'rect'
      a = element.width / 2;
      b = element.height / 2;
      faces = {[-a a a -a; -b -b b b; 0 0 0 0]};
    case 'circ'
      faces = {circle(element.radius, 0, linspace(0, 2 * pi, 49))};
    case 'ring'
      faces = zone(element.inner_radius, element.outer_radius, 1, @(r) 0 * r);
      if ~meshed
        turn = linspace(0, 2 * pi, 49);
        faces = {[circle(element.outer_radius, 0, turn), ...
                  fliplr(circle(element.inner_radius, 0, turn))]};   % cut open at angle 0
      end
    case 'shel'
      faces = cap(0, element.radius, element.rad_curvature);
    case 'sph ring'
      faces = cap(element.inner_radius, element.outer_radius, element.geometric_focus);
  end
end

function points = circle(radius, height, turn)
  points = [radius * cos(turn); radius * sin(turn); height * ones(size(turn))];
end

function faces = cap(inner, outer, curvature)
  faces = zone(inner, outer, 8, @(r) curvature - sqrt(max(curvature^2 - r .^ 2, 0)));
end

% Quadrilaterals between circles and meridians of a surface of revolution.
function faces = zone(inner, outer, steps, height)
  sectors = 48;
  faces = cell(steps, sectors);
  radius = linspace(inner, outer, steps + 1);
  for i = 1:steps
    for j = 1:sectors
      turn = 2 * pi * [j - 1, j] / sectors;
      faces{i, j} = [circle(radius(i), height(radius(i)), turn(1)), ...
                     circle(radius(i + 1), height(radius(i + 1)), turn), ...
                     circle(radius(i), height(radius(i)), turn(2))];
    end
  end
  faces = faces(:).';
end
