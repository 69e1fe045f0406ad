function area = element_area(element)
%ELEMENT_AREA  Area of the radiating face in square metres.
  cap = @(a, r) 2 * pi * r * (r - sqrt((r - a) * (r + a)));
  switch element.shape
    case 'rect'
      area = element.width * element.height;
    case 'circ'
      area = pi * element.radius^2;
    case 'ring'
      area = pi * (element.outer_radius^2 - element.inner_radius^2);
    case 'shel'
      area = cap(element.radius, element.rad_curvature);
    case 'sph ring'
      area = cap(element.outer_radius, element.geometric_focus) ...
             - cap(element.inner_radius, element.geometric_focus);
  end
end
