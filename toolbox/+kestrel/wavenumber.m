function k = wavenumber(medium, f0)
%WAVENUMBER  Complex wavenumber of a plane wave in a medium.
%   K = kestrel.wavenumber(MEDIUM, F0) returns 2 pi F0 / c - j alpha in rad/m, with the
%   speed of sound c of MEDIUM and its attenuation alpha at the frequency F0 (Hz) in nepers
%   per metre. A plane wave along z is exp(-1j * K * z), with time as e^{+jwt}.
%   K has the size of F0.
%
%   The attenuation grows in proportion to the frequency, as in all fields of kestrel.
%
%   Errors: a MEDIUM without its fields, frequencies that are not real and finite or not
%   greater than 0.
%
%   Example: decibels lost on 4 cm of liver at 2 and 5 MHz
%      k = kestrel.wavenumber(kestrel.medium('liver'), [2e6 5e6]);
%      20 * log10(abs(exp(-1j * k * 4e-2)))
%
%   See also kestrel.medium, kestrel.cw_field.
  caller = 'kestrel.wavenumber';
  kestrel.detail.check_count(caller, nargin, 2, '(medium, f0)');
  medium = kestrel.detail.check_medium(caller, medium);
  kestrel.detail.check_numbers(caller, 'f0', f0);
  f0 = double(f0);
  if any(f0(:) <= 0)
    error('kestrel:argument', '%s: f0 must be greater than 0.', caller);
  end
  wave = kestrel.detail.run_compiled(caller, 'arrays', 'wavenumber', ...
                                     struct('medium', medium, 'f0', f0(:)'));
  k = reshape(complex(wave(1, :), -wave(2, :)), size(f0));
end
