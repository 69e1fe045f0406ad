function array = focus(array, points, medium, f0, varargin)
%FOCUS  Sets the phases of an array so that it focuses at a point, or at several.
%   ARRAY = kestrel.focus(ARRAY, POINT, MEDIUM, F0) returns ARRAY with the phase of
%   every element set so that, at the frequency F0 in hertz and with the speed of
%   sound of MEDIUM, the waves from all elements arrive at POINT = [x y z] (metres)
%   in phase. Earlier phases are replaced; amplitudes stay.
%
%   With outgoing waves exp(-jkR) an element at the distance R needs the phase
%   k R; the smallest of these is subtracted, so the nearest element has phase 0,
%   and the phases are given between -pi and pi. The distance of a rectangle is that
%   of its centre. That of a disc, ring or shell is the mean of the distances of its
%   inner and outer edge (for a disc or shell, of its centre and its edge), and pi is
%   added to the phase where these two differ by one to two wavelengths, three to four,
%   and so on. That is exact on its axis: so concentric rings can be focused.
%
%   ARRAY = kestrel.focus(ARRAY, POINTS, MEDIUM, F0) with an m-by-3 matrix, a point
%   in each row, focuses at all of them at once, with equal pressures as far as the
%   array allows. The element nearest to the first has phase 0.
%
%   ARRAY = kestrel.focus(..., Name, Value, ...) with
%      'amplitude'  'keep' (default) or 'set'. With 'keep' only phases change: those
%                   of a sum of the single foci's phases whose weights are adapted
%                   until the foci are as strong as asked for (the weighted
%                   Gerchberg-Saxton iteration). With 'set' amplitudes change too:
%                   the pseudo-inverse of the matrix of what each element sends to
%                   each focus gives the weakest drive with the pressures asked for
%                   (E. S. Ebbini and C. A. Cain, IEEE Trans. Ultrason. Ferroelectr.
%                   Freq. Control 36 (1989) 540); it is scaled so that the largest
%                   amplitude stays what it was. For one POINT too.
%      'pressure'   one positive number per focus: the magnitudes wanted, relative to
%                   each other, default all equal
%
%   Elements count as simple sources here: with their area, the distance and the
%   attenuation, but without the beam that each forms.
%
%   Errors: an ARRAY that is no array of elements (the element and its field are
%   named), POINTS that are not rows of three real numbers, a MEDIUM without its
%   fields, F0 that is not greater than 0, an unknown option or value.
%
%   Examples:
%      water = kestrel.medium('water');
%      array = kestrel.linear_array(64, 0.5e-3, 10e-3, 0.6e-3);
%      array = kestrel.focus(array, [5e-3 0 40e-3], water, 1e6);
%      two = kestrel.focus(array, [-5e-3 0 40e-3; 5e-3 0 40e-3], water, 1e6);
%
%   See also kestrel.steer, kestrel.apodize, kestrel.linear_array,
%   kestrel.annular_array, kestrel.cw_field.
  caller = 'kestrel.focus';
  kestrel.detail.check_count(caller, nargin, 4, '(array, points, medium, f0, name, value, ...)');
  kestrel.detail.check_array(caller, array);
  if isnumeric(points) && isvector(points)
    points = kestrel.detail.check_vector(caller, 'point', points, 3);
  end
  points = kestrel.detail.check_points(caller, 'points', points);
  kestrel.detail.check_units(caller, 'm', 'a coordinate of a focus', points);
  medium = kestrel.detail.check_medium(caller, medium);
  f0 = kestrel.detail.check_frequency(caller, f0);
  defaults = struct('amplitude', 'keep', 'pressure', ones(1, size(points, 1)));
  options = kestrel.detail.parse_options(caller, defaults, varargin);
  options.amplitude = kestrel.detail.check_choice(caller, 'amplitude', options.amplitude, ...
                                                  {'keep', 'set'});
  wanted = kestrel.detail.check_vector(caller, 'pressure', options.pressure, ...
                                       size(points, 1)).';
  if any(wanted <= 0)
    error('kestrel:option', '%s: pressure must be greater than 0.', caller);
  end
  if isempty(array)
    return
  end

  arguments = struct('points', points, 'medium', medium, 'f0', f0, ...
                     'amplitude', options.amplitude, 'pressure', wanted.');
  [amplitude, phase] = kestrel.detail.run_compiled(caller, 'arrays', 'focus', arguments, array);
  array = kestrel.detail.set_field(array, 'amplitude', amplitude);
  array = kestrel.detail.set_field(array, 'phase', phase);
end
