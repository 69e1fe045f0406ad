function array = drive(array, medium, quantity, value)
%DRIVE  Sets the amplitudes of an array by a pressure or a power.
%   ARRAY = kestrel.drive(ARRAY, MEDIUM, 'pressure', P) returns ARRAY with amplitudes, the
%   velocities of the faces in m/s, for a pressure of P pascals at the face of the
%   strongest element.
%
%   ARRAY = kestrel.drive(ARRAY, MEDIUM, 'power', W) sets them for W watts, radiated by all
%   elements together.
%
%   The amplitudes keep their proportions, as those from kestrel.apodize; phases and delays
%   stay. Both are estimates by a plane wave: the pressure at a face is density times
%   speed of sound times velocity, rho c v, and the power of an element of area A is
%   rho c v^2 A / 2. They are good for faces of several wavelengths. A small element alone
%   radiates less than that, and how elements load each other is left out. A velocity
%   profile (apodization_index) is not taken into account.
%
%   Errors: an ARRAY that is no array of elements (the element and its field are named) or
%   whose amplitudes are all 0, a MEDIUM without its fields, another name than 'pressure'
%   or 'power', a value that is not greater than 0.
%
%   Example: 50 watts from a bowl in water
%      water = kestrel.medium('water');
%      array = kestrel.bowl_array(256, 2.8e-3, 60e-3, 120e-3);
%      array = kestrel.drive(array, water, 'power', 50);
%
%   See also kestrel.focus, kestrel.apodize, kestrel.intensity, kestrel.cw_field.
  caller = 'kestrel.drive';
  kestrel.detail.check_count(caller, nargin, 4, ...
                             '(array, medium, ''pressure'' or ''power'', value)');
  kestrel.detail.check_array(caller, array);
  medium = kestrel.detail.check_medium(caller, medium);
  quantity = kestrel.detail.check_choice(caller, 'the quantity', quantity, {'pressure', 'power'});
  value = kestrel.detail.check_scalar(caller, quantity, value, 'positive');
  if isempty(array)
    return
  end
  amplitude = kestrel.detail.field_columns(array, 'amplitude', 1);
  if all(amplitude == 0)
    error('kestrel:argument', '%s: the amplitudes are all 0.', caller);
  end
  amplitude = amplitude / max(abs(amplitude));
  impedance = medium.density * medium.soundspeed;
  if strcmp(quantity, 'pressure')
    scale = value / impedance;
  else
    area = kestrel.detail.run_compiled(caller, 'arrays', 'faces', struct(), array);
    scale = sqrt(2 * value / (impedance * sum(amplitude .^ 2 .* area)));
  end
  array = kestrel.detail.set_field(array, 'amplitude', scale * amplitude);
end
