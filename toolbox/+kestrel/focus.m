function array = focus(array, point, medium, f0)
%FOCUS  Sets the phases of an array so that it focuses at a point.
%   ARRAY = kestrel.focus(ARRAY, POINT, MEDIUM, F0) returns ARRAY with the phase of
%   every element set so that, at the frequency F0 in hertz and with the speed of
%   sound of MEDIUM, the waves from the elements' centres arrive at POINT = [x y z]
%   (metres) in phase. Earlier phases are replaced; amplitudes stay.
%
%   With outgoing waves exp(-jkR) an element at the distance R needs the phase
%   k R; the smallest of these is subtracted, so the nearest element has phase 0,
%   and the phases are given between -pi and pi.
%
%   Errors: an ARRAY that is no array of elements (the element and its field are
%   named), a POINT that is not three real numbers, a MEDIUM without its fields, F0
%   that is not greater than 0.
%
%   Example:
%      water = kestrel.medium('water');
%      array = kestrel.linear_array(64, 0.5e-3, 10e-3, 0.6e-3);
%      array = kestrel.focus(array, [5e-3 0 40e-3], water, 1e6);
%
%   See also kestrel.linear_array, kestrel.planar_array, kestrel.cw_field.
  caller = 'kestrel.focus';
  kestrel.detail.check_array(caller, array);
  point = kestrel.detail.check_vector(caller, 'point', point, 3);
  kestrel.detail.check_medium(caller, medium);
  f0 = kestrel.detail.check_scalar(caller, 'f0', f0, 'positive');
  if isempty(array)
    return
  end

  distance = zeros(1, numel(array));
  for i = 1:numel(array)
    distance(i) = norm(point - array(i).center(:).');
  end
  k = 2 * pi * f0 / medium.soundspeed;
  phase = k * (distance - min(distance));
  phase = phase - 2 * pi * round(phase / (2 * pi));
  for i = 1:numel(array)
    array(i).phase = phase(i);
  end
end
