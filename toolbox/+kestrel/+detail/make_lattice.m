function array = make_lattice(caller, counts, sizes, pitches, pairs)
%MAKE_LATTICE  Rectangles at the nodes of a plane lattice, x index fastest.
%   COUNTS, SIZES and PITCHES are (x, y) pairs. The options place and turn the
%   array as a whole; amplitude and phase may be given per element.
  counts = [kestrel.detail.check_scalar(caller, 'the number of elements', counts(1), 'count'), ...
            kestrel.detail.check_scalar(caller, 'the number of elements', counts(2), 'count')];
  prototype = kestrel.rectangle(sizes{:});
  extents = [prototype.width, prototype.height];
  for d = 1:2
    kestrel.detail.check_scalar(caller, 'pitch', pitches(d), 'positive');
    % Contiguous elements have the pitch equal to the extent, perhaps up to rounding.
    if counts(d) > 1 && pitches(d) < extents(d) * (1 - 1e-9)
      error('kestrel:argument', ...
            '%s: a pitch of %g m makes elements of %g m overlap.', ...
            caller, pitches(d), extents(d));
    end
  end

  n = prod(counts);
  defaults = struct('center', [0 0 0], 'euler', [0 0 0], 'amplitude', 1, 'phase', 0);
  options = kestrel.detail.parse_options(caller, defaults, pairs);
  center = kestrel.detail.check_vector(caller, 'center', options.center, 3);
  prototype.euler = kestrel.detail.check_vector(caller, 'euler', options.euler, 3);
  amplitude = per_element(caller, 'amplitude', options.amplitude, n);
  phase = per_element(caller, 'phase', options.phase, n);

  [x, y] = ndgrid(offsets(counts(1), pitches(1)), offsets(counts(2), pitches(2)));
  local = [x(:).'; y(:).'; zeros(1, n)];
  positions = kestrel.detail.to_global(local, center, prototype.euler);

  array = repmat(prototype, 1, n);
  for i = 1:n
    array(i).center = positions(:, i).';
    array(i).amplitude = amplitude(i);
    array(i).phase = phase(i);
  end
end

function x = offsets(n, pitch)
  x = ((0:n - 1) - (n - 1) / 2) * pitch;
end

function value = per_element(caller, name, value, n)
  kestrel.detail.check_numbers(caller, name, value);
  if numel(value) == 1
    value = repmat(value, 1, n);
  elseif numel(value) ~= n
    error('kestrel:argument', '%s: %s must have 1 or %d entries, but it has %d.', ...
          caller, name, n, numel(value));
  end
  value = double(value(:).');
end
