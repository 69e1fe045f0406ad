function array = make_lattice(caller, counts, sizes, pitches, pairs)
%MAKE_LATTICE  Rectangles at the nodes of a plane lattice, x index fastest.
%   COUNTS, SIZES and PITCHES are (x, y) pairs. The options place and turn the
%   array as a whole; amplitude and phase may be given per element.
  counts = [kestrel.detail.check_scalar(caller, 'the number of elements', counts(1), 'count'), ...
            kestrel.detail.check_scalar(caller, 'the number of elements', counts(2), 'count')];
  kestrel.detail.check_size(caller, prod(counts));
  prototype = kestrel.rectangle(sizes{:});
  for d = 1:2
    kestrel.detail.check_scalar(caller, 'pitch', pitches(d), 'positive');
  end
  layout = strrep(caller, 'kestrel.', '');
  sizes = struct('n', counts, 'width', prototype.width, 'height', prototype.height, ...
                 'pitch', double(pitches(:).'));
  if strcmp(layout, 'linear_array')
    sizes.n = counts(1);
    sizes.pitch = sizes.pitch(1);
  end
  array = kestrel.detail.make_array(caller, layout, sizes, pairs);
end
