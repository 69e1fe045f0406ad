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
%      MEDIUM   from kestrel.medium. Its nonlinearityparameter distorts the wave. Its
%               attenuation damps each harmonic in proportion to the frequency: harmonic n
%               loses n times as many decibels as the first. In water it would be n^2
%               times: give the attenuation at the frequency that matters, which is
%               0.0022 * f dB/(cm MHz) in water at f MHz
%
%   The beam is marched from the face by the parabolic (Khokhlov-Zabolotskaya-Kuznetsov)
%   equation: right for beams many wavelengths wide, up to some 0.45 rad off the axis; close
%   to the source (below a fifth of the circle's Rayleigh distance) on the axis only; for
%   shells of up to 25 degrees half angle. Within some radii of the face the harmonics above
%   the first come out too high, since the wave is read as if it had gone further: by 2 % of
%   the distance 3.5 radii of a circle away, 6 % at 2 radii, 21 % at one. These hold for the
%   main lobe: side lobes beyond 0.15 rad are rough, by 10 to 30 % of themselves, and so is
%   a shell's second harmonic off the axis before 0.7 of the way to the focus.
%
%   Warnings come for a source of ka below 10, for a shell of a half angle above 25 degrees,
%   when the shock is stronger than the harmonics carried can hold, for a step or radius out
%   of range, a nonlinearityparameter of 0 or less, and points outside a domain that was set too
%   small. Otherwise where the points lie is not looked at: more than 0.45 rad off the axis,
%   and off the axis near the face, the result is wrong without a warning.
%
%   ... = kestrel.harmonics(..., NAME, VALUE, ...) with the options
%      'kzk'       structure with some of these fields; 0, [] or none is the default:
%                  harmonics    how many are carried, 1 to 160. 30 if not given; at a strong
%                               shock, trust the lowest sixth
%                  step         axial step, times the default one, 0.05 to 4
%                  radial_step  in radii of the source, 0.0005 to 0.1. Default 0.02, and
%                               less for a shell of high gain
%                  radius       of the domain, in radii of the source, 1.5 to 100. Default
%                               wide enough for GRID
%                  A step, radial_step or radius out of range is warned of, and the
%                  default used
%      'threads'   number of threads; 0, the default, is one per processor core. The result
%                  does not depend on it
%      'progress'  false: say nothing, however long it takes. Otherwise long work says
%                  beforehand about how long it will take, and then how far it is
%
%   [P, INFO] = kestrel.harmonics(...) also returns the method, the time in seconds, the
%   threads, the instruction set, and of the largest march the memory in bytes, the planes,
%   radial_nodes and harmonics.
%
%   An element with an amplitude of 0 radiates nothing. Ctrl-C ends the calculation.
%
%   Errors: an argument that is not what it should be; a harmonic that is not carried, or
%   more of them than a march can carry; a shape that cannot be marched, or a face with an
%   apodization_index; a drive so strong that the field does not stay finite.
%
%   Example: a focused source in water, 0.1 m/s (0.15 MPa) at its face
%      medium = kestrel.medium('water');
%      shell = kestrel.shell(15e-3, 60e-3, 'amplitude', 0.1);
%      grid = set_coordinate_grid([0.3e-3 1 0.5e-3], -6e-3, 6e-3, 0, 0, 30e-3, 90e-3);
%      p = kestrel.harmonics(shell, grid, medium, 1e6, 1:5);
%   the second harmonic's beam; the pressure over two periods at a point, here the middle
%   of the grid, as far as these five harmonics make it up; and the intensity, the sum of
%   the harmonics' own:
%      kestrel.show_field(p(:, :, :, 2), grid);
%      t = linspace(0, 2e-6, 401);
%      wave = real(squeeze(p(21, 1, 61, :)).' * exp(2j * pi * 1e6 * (1:5).' * t));
%      plot(1e6 * t, 1e-6 * wave), xlabel('time (us)'), ylabel('MPa')
%      i = sum(kestrel.intensity(p, medium), 4);
%
%   See also kestrel.cw_field, kestrel.transient_field, kestrel.show_field,
%   kestrel.intensity, kestrel.shell, kestrel.medium.
  caller = 'kestrel.harmonics';
  kestrel.detail.check_count(caller, nargin, 5, ...
                             '(element, grid, medium, f0, numbers, name, value, ...)');
  options = struct('kzk', [], 'threads', 0, 'progress', true);
  options = kestrel.detail.parse_options(caller, options, varargin);
  options = kestrel.detail.check_run(caller, options);
  if ~isnumeric(numbers) || ~isreal(numbers) || isempty(numbers)
    error('kestrel:argument', '%s: the numbers of the harmonics must be whole numbers, as 1:5.', ...
          caller);
  end
  options.wanted = double(full(numbers(:).'));
  grid = kestrel.detail.check_grid(caller, grid);
  medium = kestrel.detail.check_medium(caller, medium);
  f0 = kestrel.detail.check_frequency(caller, f0);
  kestrel.detail.check_weights(caller, array, 'time_delay');

  result = cell(1, max(nargout, 1));
  [result{:}] = kestrel.detail.run_compiled(caller, 'array_field', array, grid, medium, ...
                                            [], f0, options);
  [p, info] = deal(result{[1 end]});
  if nargout > 1   % without what has no meaning for a march
    info = rmfield(info, {'nodes', 'way', 'reused_elements', 'error_estimate'});
  end
end
