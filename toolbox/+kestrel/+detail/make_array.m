function array = make_array(caller, layout, sizes, pairs)
%MAKE_ARRAY  Lays out an array by the compiled part and places it.
%   SIZES is a structure with the arguments of kestrel.LAYOUT. PAIRS holds the options
%   'center', 'euler', 'amplitude' and 'phase' of kestrel.linear_array.
  defaults = struct('center', [0 0 0], 'euler', [0 0 0], 'amplitude', 1, 'phase', 0);
  options = kestrel.detail.parse_options(caller, defaults, pairs);
  sizes.center = kestrel.detail.check_vector(caller, 'center', options.center, 3);
  sizes.euler = kestrel.detail.check_vector(caller, 'euler', options.euler, 3);
  kestrel.detail.check_numbers(caller, 'amplitude', options.amplitude);
  kestrel.detail.check_numbers(caller, 'phase', options.phase);
  sizes.amplitude = double(full(options.amplitude(:).'));
  sizes.phase = double(full(options.phase(:).'));
  array = kestrel.detail.run_compiled(caller, 'arrays', layout, sizes);

  positions = kestrel.detail.field_columns(array, 'center');
  size_of = @(name) kestrel.detail.field_columns(array(1), name, 0);
  if all(cellfun(size_of, {'width', 'height', 'radius', 'outer_radius'}) <= 1)
    % Otherwise the element itself has been warned of.
    kestrel.detail.check_units(caller, 'm', 'center', sizes.center, 'rad', 'euler', ...
                               sizes.euler, 'm', 'the position of an element', positions);
  end
end
