function p = fnm_cw_single(varargin)
%FNM_CW_SINGLE  Continuous-wave field of a rectangular element (compiled).
%   P = fnm_cw_single(TRANSDUCER, GRID, MEDIUM, NDIV, F0) is the complex pressure
%   that TRANSDUCER radiates, by the fast nearfield method with the geometry of the
%   points in single precision. For an array use kestrel.cw_field, and see below.
%      TRANSDUCER  structure with the fields shape ('rect'), width, height, center,
%                  euler and, if not 1 and 0, amplitude and phase, as
%                  kestrel.rectangle returns
%      GRID        from set_coordinate_grid
%      MEDIUM      from kestrel.medium; soundspeed, density and attenuationdBcmMHz
%                  are used, and all nine fields must be there
%      NDIV        number of Gauss-Legendre nodes per integral; a fraction is cut
%                  off. A rectangle whose longer side is s wavelengths needs 2 s + 2
%                  (at least 4) for an error of 1e-3 of the peak, 2 s + 8 for 1e-6
%      F0          frequency in hertz
%      P           nx-by-ny-by-nz for a regular grid, m-by-1 for a list of m points,
%                  in pascals when the amplitude is in m/s. Time runs as exp(+jwt),
%                  so outgoing waves are exp(-jkR).
%
%   P = fnm_cw_single(..., FLAG) accepts a sixth argument of earlier releases, and
%   warns when it is not 0.
%
%   The result must be asked for: a call as a statement, without "P =", is an error.
%
%   Points behind the face get 0. The attenuation is proportional to the frequency.
%   With it the field differs from the Rayleigh integral's by the factor
%   1 - j alpha/k, a convention of the method (3e-3 at 1 dB/(cm MHz)).
%
%   Several elements: TRANSDUCER may be a structure array, but the result is then
%   NOT the field of the array. Of n elements the list that is computed holds, with
%   k the element that gives size, amplitude and phase and i the one that gives
%   centre and angles, written k@i:
%      n = 1   1@1
%      n = 2   1@2 1@2
%      n = 3   1@2 1@2 2@3
%      n = 4   1@4 1@4 2@3 1@4
%      n = 5   1@4 1@4 2@3 1@4 3@5
%   This is kept because results of earlier releases depend on it.
%   kestrel.cw_field gives the sum over all elements, each in its own place.
%
%   Errors: a wrong number of arguments or results, a TRANSDUCER, GRID or MEDIUM
%   that is no structure or lacks a field, NDIV below 1, a complex F0, an unknown
%   shape, a shape other than 'rect'. Their identifier is 'kestrel:fnm_cw_single'.
%
%   Example:
%      element = kestrel.rectangle(5e-3, 5e-3);
%      grid = set_coordinate_grid(0.2e-3, -5e-3, 5e-3, 0, 0, 1e-3, 30e-3);
%      p = fnm_cw_single(element, grid, kestrel.medium('water'), 16, 1e6);
%
%   See also kestrel.cw_field, kestrel.rectangle, set_coordinate_grid,
%   kestrel.medium.

  % Reached only where the compiled function of this name is not found before this file.
  kestrel.detail.check_installed('fnm_cw_single', 'fnm_cw_single');
  error('kestrel:installation', ...
        'fnm_cw_single: this file holds the help only, and hides the compiled function.');
end
