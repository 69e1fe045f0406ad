function array = steer(array, angles, medium, f0, varargin)
%STEER  Sets the phases of an array so that it sends a plane wave in a direction.
%   ARRAY = kestrel.steer(ARRAY, [THETA PHI], MEDIUM, F0) returns ARRAY with the phase
%   of every element set so that, at the frequency F0 in hertz, the waves from the
%   elements' centres add up to a plane wave in the direction
%   (sin THETA cos PHI, sin THETA sin PHI, cos THETA), in radians: THETA is the angle
%   from the z axis, and PHI turns the direction from +x towards +y. One number is
%   THETA, with PHI 0; a negative one steers towards -x. Earlier phases are replaced;
%   amplitudes stay.
%
%   The axes are those of the elements when all of them have the same angles, as in
%   kestrel.linear_array and kestrel.planar_array: THETA is then the angle from the
%   array's normal. Otherwise they are the global ones.
%
%   ARRAY = kestrel.steer(..., 'euler', [e1 e2 e3]) names the frame of the angles:
%   [0 0 0] is the global one; for a turned kestrel.curved_array give the angles that
%   it was turned by.
%
%   It is kestrel.focus with a point at infinity: the element that lies farthest in the
%   direction has phase 0, and the phases are given between -pi and pi. Elements whose
%   pitch is more than half a wavelength send grating lobes besides.
%
%   Errors: an ARRAY that is no array of elements (the element and its field are
%   named), ANGLES that are not one or two real numbers, a MEDIUM without its fields,
%   F0 that is not greater than 0, an unknown option or value.
%
%   Example: 20 degrees towards +x
%      array = kestrel.linear_array(64, 0.25e-3, 10e-3, 0.3e-3);
%      array = kestrel.steer(array, 20 * pi / 180, kestrel.medium('water'), 2e6);
%
%   See also kestrel.focus, kestrel.apodize, kestrel.linear_array, kestrel.cw_field.
  caller = 'kestrel.steer';
  kestrel.detail.check_count(caller, nargin, 4, '(array, angles, medium, f0, name, value, ...)');
  kestrel.detail.check_array(caller, array);
  medium = kestrel.detail.check_medium(caller, medium);
  f0 = kestrel.detail.check_frequency(caller, f0);
  options = kestrel.detail.parse_options(caller, struct('euler', []), varargin);
  [angles, euler] = kestrel.detail.check_direction(caller, angles, options.euler);
  if isempty(array)
    return
  end
  arguments = struct('angles', angles, 'medium', medium, 'f0', f0, 'euler', euler);
  [~, phase] = kestrel.detail.run_compiled(caller, 'arrays', 'steer', arguments, array);
  array = kestrel.detail.set_field(array, 'phase', phase);
end
