function array = make_lattice(caller, counts, sizes, pitches, pairs)
%MAKE_LATTICE  Rectangles at the nodes of a plane lattice, x index fastest.
%   COUNTS, SIZES and PITCHES are (x, y) pairs. The options place and turn the
%   array as a whole; amplitude and phase may be given per element.
  counts = [kestrel.detail.check_scalar(caller, 'the number of elements', counts(1), 'count'), ...
            kestrel.detail.check_scalar(caller, 'the number of elements', counts(2), 'count')];
  kestrel.detail.check_size(caller, prod(counts));
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

  [x, y] = ndgrid(offsets(counts(1), pitches(1)), offsets(counts(2), pitches(2)));
  array = repmat(prototype, 1, prod(counts));
  for i = 1:numel(array)
    array(i).center = [x(i), y(i), 0];
  end
  array = kestrel.detail.place_array(caller, array, pairs);
end

function x = offsets(n, pitch)
  x = ((0:n - 1) - (n - 1) / 2) * pitch;
end
