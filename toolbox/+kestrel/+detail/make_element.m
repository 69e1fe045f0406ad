function element = make_element(caller, shape, geometry, pairs)
%MAKE_ELEMENT  One element: shape, its geometry, and the name-value options.
%   Every element has the geometry fields of all shapes, empty where they are
%   not its own, so that elements of different shapes join with [a, b].
  defaults = struct('center', [0 0 0], 'euler', [0 0 0], 'amplitude', 1, 'phase', 0);
  if strcmp(shape, 'circ')
    defaults.apodization_index = 0;
  end
  options = kestrel.detail.parse_options(caller, defaults, pairs);

  shapes = kestrel.detail.shapes();
  element = struct('shape', shape);
  for name = [shapes.sizes]
    element.(name{1}) = [];
  end
  names = shapes(strcmp(shape, {shapes.name})).sizes;
  lengths = {};
  for i = 1:numel(names)
    element.(names{i}) = geometry{i};
    if ~any(strcmp(names{i}, {'rad_curvature', 'geometric_focus'}))   % flat may be meant
      lengths = [lengths, {'m', names{i}, geometry{i}}];
    end
  end
  element.center = kestrel.detail.check_vector(caller, 'center', options.center, 3);
  element.euler = kestrel.detail.check_vector(caller, 'euler', options.euler, 3);
  kestrel.detail.check_units(caller, lengths{:}, 'm', 'center', element.center, ...
                             'rad', 'euler', element.euler);
  element.amplitude = kestrel.detail.check_scalar(caller, 'amplitude', options.amplitude);
  element.phase = kestrel.detail.check_scalar(caller, 'phase', options.phase);
  element.apodization_index = 0;
  if strcmp(shape, 'circ')
    index = options.apodization_index;
    if ~isnumeric(index) || ~isscalar(index) || ~any(index == 0:4)
      error('kestrel:option', ...
            ['%s: apodization_index must be 0 (uniform), 1 (cosine), 2 (raised cosine), ' ...
             '3 (quadratic) or 4 (quartic).'], caller);
    end
    element.apodization_index = double(full(index));
  end
end
