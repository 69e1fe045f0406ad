function array = plane_wave_delays(array, angles, medium, varargin)
%PLANE_WAVE_DELAYS  Delays the elements of an array so that they send a plane wave.
%   ARRAY = kestrel.plane_wave_delays(ARRAY, [THETA PHI], MEDIUM) returns ARRAY with the
%   field 'time_delay' (seconds) of every element set so that, with the speed of sound of
%   MEDIUM, the pulses from the elements' centres form a plane wave in the direction
%   (sin THETA cos PHI, sin THETA sin PHI, cos THETA), in radians. One number is THETA,
%   with PHI 0; a negative one sends towards -x. Earlier delays are replaced.
%
%   The wave leaves the middle of the array, the mean of the elements' centres, at time 0
%   whatever its direction: fields of several angles add up without further shifts, and the
%   pulse passes a point r at ((r - middle) . direction) / c. Elements that lie
%   behind the middle in that direction start earlier: their delay is negative.
%
%   The axes are those of kestrel.steer, and the option 'euler' is the same: the frame of
%   the angles.
%
%   Errors: an ARRAY that is no array of elements (the element and its field are named),
%   ANGLES that are not one or two real numbers, a MEDIUM without its fields, an unknown
%   option or value.
%
%   Example: the sum of plane waves in five directions
%      medium = kestrel.medium('lossless');
%      array = kestrel.linear_array(64, 0.25e-3, 5e-3, 0.3e-3);
%      grid = set_coordinate_grid([0.3e-3 0 0.3e-3], -6e-3, 6e-3, 0, 0, 5e-3, 20e-3);
%      pulse = set_excitation_function(2, 1, 2e6, 1.5e-6, 0);
%      now = set_time_samples(11e-6);
%      total = 0;
%      for theta = (-10:5:10) * pi / 180
%        sent = kestrel.plane_wave_delays(array, theta, medium);
%        total = total + kestrel.transient_field(sent, grid, medium, now, 24, pulse);
%      end
%      kestrel.show_field(total, grid, 'scale', 'linear');
%
%   See also kestrel.focus_delays, kestrel.steer, kestrel.transient_field.
  caller = 'kestrel.plane_wave_delays';
  kestrel.detail.check_count(caller, nargin, 3, '(array, angles, medium, name, value, ...)');
  kestrel.detail.check_array(caller, array);
  medium = kestrel.detail.check_medium(caller, medium);
  options = kestrel.detail.parse_options(caller, struct('euler', []), varargin);
  [angles, euler] = kestrel.detail.check_direction(caller, angles, options.euler);
  if isempty(array)
    return
  end
  arguments = struct('angles', angles, 'medium', medium, 'euler', euler);
  [~, ~, delay] = kestrel.detail.run_compiled(caller, 'arrays', 'plane_wave_delays', ...
                                              arguments, array);
  array = kestrel.detail.set_field(array, 'time_delay', delay);
end
