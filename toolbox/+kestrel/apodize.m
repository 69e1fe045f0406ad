function array = apodize(array, window, varargin)
%APODIZE  Weights the amplitudes of an array over its aperture.
%   ARRAY = kestrel.apodize(ARRAY, WINDOW) multiplies the amplitude of every element by
%   the value that WINDOW has at the element's centre. With t from -1 to 1 over the
%   aperture, WINDOW is one of
%      'rect'      1
%      'cosine'    cos(pi t / 2)
%      'hann'      0.5 + 0.5 cos(pi t)
%      'hamming'   0.54 + 0.46 cos(pi t)
%      'blackman'  0.42 + 0.5 cos(pi t) + 0.08 cos(2 pi t)
%      'tukey'     1 in the middle half, falling as 'hann' to 0 at the ends
%      'gauss'     exp(-t^2 / (2 0.4^2))
%   or a vector with one weight for each element. The aperture reaches from outer edge
%   to outer edge, so that no element is silent.
%
%   By default WINDOW counts along x and along y, and the weights are multiplied; along
%   an axis on which all centres have the same place it is 1. {WX, WY} gives a window
%   for each: a name, or a vector with one weight for each place that the centres have
%   on that axis, from the smallest. The axes are those of the elements when all of them
%   have the same angles, and otherwise the global ones.
%
%   ARRAY = kestrel.apodize(..., Name, Value, ...) with
%      'along'  'xy' (default), or 'radius': t is the distance from the z axis through
%               the middle of the array, divided by the aperture's radius, and that of a
%               ring is the mean of its radii
%      'euler'  [e1 e2 e3]: the frame of the axes, as in kestrel.steer
%
%   Errors: an ARRAY that is no array of elements (the element and its field are
%   named), an unknown WINDOW, a vector with the wrong number of entries, an unknown
%   option or value.
%
%   Example: low side lobes across, full aperture in height
%      array = kestrel.planar_array([32 8], 0.5e-3, 2e-3, [0.6e-3 2.2e-3]);
%      array = kestrel.apodize(array, {'hamming', 'rect'});
%
%   See also kestrel.focus, kestrel.steer, kestrel.planar_array, kestrel.cw_field.
  caller = 'kestrel.apodize';
  kestrel.detail.check_count(caller, nargin, 2, '(array, window, name, value, ...)');
  kestrel.detail.check_array(caller, array);
  options = kestrel.detail.parse_options(caller, struct('along', 'xy', 'euler', []), varargin);
  options.along = kestrel.detail.check_choice(caller, 'along', options.along, {'xy', 'radius'});
  if isempty(options.euler)
    options.euler = [];
  else
    options.euler = kestrel.detail.check_vector(caller, 'euler', options.euler, 3);
  end
  if isempty(array)
    return
  end
  arguments = struct('along', options.along, 'euler', options.euler);
  arguments.window = check_window(caller, window, options.along, numel(array));
  amplitude = kestrel.detail.run_compiled(caller, 'arrays', 'apodize', arguments, array);
  array = kestrel.detail.set_field(array, 'amplitude', amplitude);
end

% A window as the compiled part takes it: a name, numbers, or two of them.
function window = check_window(caller, window, along, n)
  if iscell(window)
    if numel(window) ~= 2 || strcmp(along, 'radius')
      error('kestrel:argument', ...
            '%s: a cell array of windows must have two, for x and for y.', caller);
    end
    for d = 1:2
      if isnumeric(window{d})
        kestrel.detail.check_numbers(caller, sprintf('window %d', d), window{d});
        window{d} = double(full(window{d}(:).'));
      else
        window{d} = check_name(caller, window{d});
      end
    end
  elseif isnumeric(window)
    window = kestrel.detail.check_vector(caller, 'window', window, n);
  else
    window = check_name(caller, window);
  end
end

function name = check_name(caller, name)
  if isstring(name) && isscalar(name)
    name = char(name);
  end
  names = {'rect', 'cosine', 'hann', 'hamming', 'blackman', 'tukey', 'gauss'};
  name = kestrel.detail.check_choice(caller, 'window', name, names);
end
