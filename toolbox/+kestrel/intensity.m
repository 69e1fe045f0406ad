function i = intensity(p, medium)
%INTENSITY  Intensity of a field, as of a plane wave.
%   I = kestrel.intensity(P, MEDIUM) is abs(P)^2 / (2 rho c) in W/m^2, with the
%   density and the speed of sound of MEDIUM, for complex pressures P in pascals
%   (amplitudes, not effective values). I has the shape of P. Divide by 1e4 for W/cm^2.
%
%   It is the time average in a plane wave, and a good approximation where the wave
%   runs nearly one way, as in a beam and its focus; close to the face of an element
%   and in standing waves it is a measure of the pressure only.
%
%   Errors: P that is not numeric, a MEDIUM without its fields.
%
%   Example:
%      i = kestrel.intensity(p, kestrel.medium('water'));
%
%   See also kestrel.cw_field, kestrel.beam_metrics, kestrel.show_field.
  caller = 'kestrel.intensity';
  kestrel.detail.check_count(caller, nargin, 2, '(p, medium)');
  if ~isnumeric(p)
    error('kestrel:argument', '%s: p must be numeric.', caller);
  end
  medium = kestrel.detail.check_medium(caller, medium);
  p = double(p);
  i = (real(p).^2 + imag(p).^2) / (2 * medium.density * medium.soundspeed);
end
