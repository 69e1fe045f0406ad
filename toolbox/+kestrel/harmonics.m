function [p, info] = harmonics(array, grid, medium, f0, numbers, varargin)
%HARMONICS  Harmonics of a nonlinear beam: high amplitudes of a circle or a shell.
%   P = kestrel.harmonics(ELEMENT, GRID, MEDIUM, F0, NUMBERS) is the complex pressure of
%   the harmonics NUMBERS of the frequency F0, hertz, that ELEMENT radiates at the points
%   of GRID, all from one calculation. P has one more dimension than the points: it is
%   nx-by-ny-by-nz-by-numel(NUMBERS) for a regular grid and m-by-numel(NUMBERS) for a list
%   of m points. At point i the pressure over time is
%
%      sum over n of  real(P(i, n) * exp(1j * 2*pi * NUMBERS(n) * F0 * t))
%
%      ELEMENT  from kestrel.circle or kestrel.shell, its amplitude the velocity of the
%               face in m/s. Of several elements each beam is computed alone and the beams
%               are added: how they distort each other is not modelled
%      MEDIUM   from kestrel.medium. Its nonlinearityparameter distorts the wave, and its
%               attenuation, in proportion to the frequency, damps each harmonic
%
%   The beam is marched from the face by the parabolic (Khokhlov-Zabolotskaya-Kuznetsov)
%   equation: right for beams many wavelengths wide, up to some 0.45 rad off the axis; close
%   to the source (below a fifth of the circle's Rayleigh distance) on the axis only; for
%   shells of up to 25 degrees half angle. Warnings come where it is known to fail, and when
%   the shock is stronger than the harmonics carried can hold.
%
%   ... = kestrel.harmonics(..., NAME, VALUE, ...) with the options
%      'kzk'       structure with some of these fields; 0 or none is the default:
%                  harmonics    how many are carried, 1 to 160. 30 if not given; at a strong
%                               shock, trust the lowest sixth
%                  step         axial step, times the default one, 0.05 to 4
%                  radial_step  in radii of the source, 0.0005 to 0.1. Default 0.02, and
%                               less for a shell of high gain
%                  radius       of the domain, in radii of the source, 1.5 to 100. Default
%                               wide enough for GRID
%                  What is out of range is warned of, and the default used
%      'threads'   number of threads; 0, the default, is one per processor core. The result
%                  does not depend on it
%      'progress'  false: say nothing, however long it takes. Otherwise long work says
%                  beforehand about how long it will take, and then how far it is
%
%   [P, INFO] = kestrel.harmonics(...) also returns the time in seconds, the number of
%   threads, the axial planes, radial nodes and harmonics of the march, and its memory in
%   bytes.
%
%   An element with an amplitude of 0 radiates nothing. Ctrl-C ends the calculation.
%
%   Errors: an argument that is not what it should be; a harmonic that is not carried; a
%   shape that cannot be marched; a drive so strong that the field does not stay finite.
%
%   Example: a focused source in water, 0.1 m/s (0.15 MPa) at its face
%      medium = kestrel.medium('water');
%      shell = kestrel.shell(15e-3, 60e-3, 'amplitude', 0.1);
%      grid = set_coordinate_grid([1 1 0.2e-3], 0, 0, 0, 0, 30e-3, 90e-3);
%      p = kestrel.harmonics(shell, grid, medium, 1e6, 1:5);
%      z = linspace(30, 90, size(p, 3));
%      plot(z, abs(squeeze(p)) / 1e6), xlabel('depth (mm)'), ylabel('MPa')
%
%   See also kestrel.cw_field, kestrel.transient_field, kestrel.shell, kestrel.medium.
  caller = 'kestrel.harmonics';
  kestrel.detail.check_count(caller, nargin, 5, ...
                             '(element, grid, medium, f0, numbers, name, value, ...)');
  given = kestrel.detail.parse_options(caller, struct('kzk', [], 'threads', 0, 'progress', true), ...
                                       varargin);
  options = struct('method', 'kzk_cw', 'threads', 0, 'reuse', false, 'tolerance', [], ...
                   'memory', 512e6, 'instruction_set', 'auto', 'kzk', [], 'wanted', [], ...
                   'progress', kestrel.detail.check_switch(caller, 'progress', given.progress));
  options.kzk = kestrel.detail.check_march(caller, given.kzk, ...
                                           'step, radial_step, radius, harmonics, harmonic');
  if ~isequal(given.threads, 0)
    options.threads = kestrel.detail.check_scalar(caller, 'threads', given.threads, 'count');
  end
  if ~isnumeric(numbers) || ~isreal(numbers) || isempty(numbers)
    error('kestrel:argument', '%s: the numbers of the harmonics must be whole numbers, as 1:5.', ...
          caller);
  end
  options.wanted = double(full(numbers(:).'));
  kestrel.detail.check_grid(caller, grid);
  kestrel.detail.check_medium(caller, medium);
  f0 = kestrel.detail.check_scalar(caller, 'f0', f0, 'positive');

  result = cell(1, max(nargout, 1));
  [result{:}] = kestrel.detail.run_compiled(@kestrel.detail.array_field, array, grid, medium, ...
                                            [], f0, options);
  [p, info] = deal(result{[1 end]});
  if nargout > 1
    info = rmfield(info, {'nodes', 'way', 'reused_elements', 'error_estimate'});   % of no meaning
  end
end
