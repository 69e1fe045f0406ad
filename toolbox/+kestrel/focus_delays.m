function array = focus_delays(array, point, medium)
%FOCUS_DELAYS  Delays the elements of an array so that their pulses meet at a point.
%   ARRAY = kestrel.focus_delays(ARRAY, POINT, MEDIUM) returns ARRAY with the field
%   'time_delay' (seconds) of every element set so that, with the speed of sound of
%   MEDIUM, the pulses of all elements arrive together at POINT = [x y z] (metres). The
%   element with the longest way has the delay 0. Earlier delays are replaced; the rest
%   stays.
%
%   As in kestrel.focus, the way from a rectangle is that from its centre, and that from
%   a disc, ring or shell is the mean of those from its inner and outer edge (for a disc
%   or shell, from its centre and its edge).
%
%   Delays are for kestrel.transient_field; phases, from kestrel.focus, are for
%   kestrel.cw_field. Neither counts in the other.
%
%   Errors: an ARRAY that is no array of elements (the element and its field are named),
%   a POINT that is not three real numbers, a MEDIUM without its fields.
%
%   Example:
%      array = kestrel.linear_array(64, 0.5e-3, 10e-3, 0.6e-3);
%      array = kestrel.focus_delays(array, [5e-3 0 40e-3], kestrel.medium('water'));
%
%   See also kestrel.plane_wave_delays, kestrel.transient_field, kestrel.focus.
  caller = 'kestrel.focus_delays';
  kestrel.detail.check_count(caller, nargin, 3, '(array, point, medium)');
  kestrel.detail.check_array(caller, array);
  point = kestrel.detail.check_vector(caller, 'point', point, 3);
  kestrel.detail.check_units(caller, 'm', 'a coordinate of the point', point);
  medium = kestrel.detail.check_medium(caller, medium);
  if isempty(array)
    return
  end
  arguments = struct('point', point, 'medium', medium);
  [~, ~, delay] = kestrel.detail.run_compiled(caller, 'arrays', 'focus_delays', arguments, array);
  array = kestrel.detail.set_field(array, 'time_delay', delay);
end
