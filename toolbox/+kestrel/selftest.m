function passed = selftest()
%SELFTEST  Checks the installation against known fields, in a few seconds.
%   kestrel.selftest() computes fields whose values are known and says of each in one
%   line whether it is right. kestrel.selftest with a result, as in
%   PASSED = kestrel.selftest(), also returns true when all are, for scripts.
%
%   The known values: the closed forms of a disc and of a spherical shell on their
%   axes and at the centre of the shell, with and without attenuation; an array of
%   all five shapes against figures from an integration over the faces; one field
%   computed in two ways, which must agree to the last digits; the closed form of a pulse
%   on the axis of a disc; and harmonics at the focus of a shell from a march with a
%   quarter of the steps and grid.
%
%   Where the compiled functions are missing or cannot be loaded, it says so, in the
%   words of the loader, and ends.
%
%   Run it after installing and when a result looks doubtful: a failed line together
%   with the version of Octave or MATLAB is what a report of the fault needs.
%
%   Errors: none; what fails is reported as failed.
%
%   Example:
%      if ~kestrel.selftest(), error('kestrel is not installed properly'), end
%
%   See also kestrel.version, kestrel.cw_field, fnm_cw_single.
  checks = {
    'the compiled functions are there', @compiled
    'disc, on its axis', @disc
    'disc in an attenuating medium', @lossy_disc
    'spherical shell, on its axis', @shell_axis
    'spherical shell, at its centre', @shell_centre
    'array of all five shapes, turned and weighted', @mixed_array
    'one field in two ways', @two_ways
    'pulse of a disc, on its axis', @pulse
    'nonlinear beam of a shell, three harmonics', @nonlinear
  };
  good = true(1, size(checks, 1));
  for i = 1:size(checks, 1)
    try
      [good(i), remark] = checks{i, 2}();
    catch problem
      good(i) = false;
      remark = problem.message;
    end
    words = {'FAILED', 'passed'};
    fprintf('%s: %s (%s)\n', words{1 + good(i)}, checks{i, 1}, remark);
    if ~good(1)
      break   % all others would say the same
    end
  end
  if all(good)
    fprintf('All checks passed.\n');
  elseif ~good(1)
    fprintf('kestrel is not installed properly: nothing can be computed.\n');
  else
    fprintf('%d of %d checks failed: do not trust results of this installation.\n', ...
            sum(~good), numel(good));
  end
  if nargout > 0
    passed = all(good);
  end
end

% A call of each: that the files are there does not say that they can be loaded.
function [good, remark] = compiled()
  element = kestrel.circle(1e-3);
  point = set_coordinate_grid([0 0 1e-3]);
  medium = kestrel.medium('lossless');
  calls = {'fnm_cw_single', {kestrel.rectangle(1e-3, 1e-3), point, medium, 2, 1e6}
           'kestrel.cw_field', {element, point, medium, 2, 1e6}
           'kestrel.transient_field', {element, point, medium, set_time_samples(0), 2, ...
                                       set_excitation_function(1, 1, 1e6, 1e-6, 0)}};
  faults = {};
  for i = 1:size(calls, 1)
    try
      result = feval(calls{i, 1}, calls{i, 2}{:});
    catch problem
      faults{end + 1} = problem.message;
    end
  end
  good = isempty(faults);
  remark = strjoin(faults, sprintf('\n   '));
  if good
    remark = which('fnm_cw_single');
  end
end

function [good, remark] = disc()
  [good, remark] = disc_axis(kestrel.medium('lossless'));
end

function [good, remark] = lossy_disc()
  [good, remark] = disc_axis(kestrel.medium('lossless', 'attenuationdBcmMHz', 0.7));
end

% rho c (exp(-jkz) - exp(-jk sqrt(z^2 + a^2))); with loss, k - j alpha for k.
function [good, remark] = disc_axis(medium)
  a = 8e-3;
  f0 = 1.3e6;
  z = (1:59).' * 1e-3;
  p = kestrel.cw_field(kestrel.circle(a), on_axis(z), medium, 48, f0);
  q = kestrel.wavenumber(medium, f0);
  [good, remark] = compare(p, 1.5e6 * (exp(-1j * q * z) - exp(-1j * q * hypot(z, a))), 1e-9);
end

% The same with the distances to the apex and to the rim, over 1 - z/R.
function [good, remark] = shell_axis()
  [element, medium, f0] = bowl();
  z = [2:0.7:39, 41.3:0.7:80].' * 1e-3;
  p = kestrel.cw_field(element, on_axis(z), medium, 64, f0);
  q = kestrel.wavenumber(medium, f0);
  rim = hypot(z - sagitta(element), element.radius);
  expected = 1.5e6 * (exp(-1j * q * z) - exp(-1j * q * rim)) ./ (1 - z / element.rad_curvature);
  [good, remark] = compare(p, expected, 1e-9);
end

% All of the shell is at one distance: rho c times jk times the depth of the bowl.
function [good, remark] = shell_centre()
  [element, medium, f0] = bowl();
  p = kestrel.cw_field(element, on_axis(40e-3), medium, 16, f0);
  q = kestrel.wavenumber(medium, f0);
  [good, remark] = compare(p, 1.5e6 * 1j * q * sagitta(element) * exp(-1j * q * 40e-3), 1e-9);
end

% By Gauss-Legendre integration of exp(-jkR)/R over every face, converged to 1e-12.
function [good, remark] = mixed_array()
  [array, points, f0, expected] = kestrel.detail.known_field();
  p = kestrel.cw_field(array, set_coordinate_grid(points), kestrel.medium('lossless'), 40, f0);
  [good, remark] = compare(p, expected, 1e-9);
end

% All elements at once, and one by one on one thread without sharing anything.
function [good, remark] = two_ways()
  medium = kestrel.medium('water');
  f0 = 1e6;
  array = kestrel.planar_array([4 3], 0.5e-3, 0.5e-3, [0.6e-3 0.6e-3]);
  array = kestrel.focus(array, [1e-3 2e-3 10e-3], medium, f0);
  grid = set_coordinate_grid(0.6e-3, -6e-3, 6e-3, -6e-3, 6e-3, 0.6e-3, 12e-3);
  p = kestrel.cw_field(array, grid, medium, 8, f0);
  q = 0;
  for element = array
    q = q + kestrel.cw_field(element, grid, medium, 8, f0, 'threads', 1, 'reuse', false);
  end
  [good, remark] = compare(p(:), q(:), 1e-13);
end

% rho c (v(t - z/c) - v(t - sqrt(z^2 + a^2)/c)).
function [good, remark] = pulse()
  c = 1500;
  v = @(t) 0.5 * (1 - cos(2 * pi * t / 3e-6)) .* sin(2 * pi * 1e6 * t) .* (t > 0 & t < 3e-6);
  p = kestrel.transient_field(kestrel.circle(8e-3), on_axis(20e-3), kestrel.medium('lossless'), ...
                              set_time_samples(50e-9, 12e-6, 19e-6), 24, ...
                              set_excitation_function(2, 0.5, 1e6, 3e-6, 0));
  t = 12e-6 + 50e-9 * (0:140);
  [good, remark] = compare(p, 1.5e6 * (v(t - 20e-3 / c) - v(t - hypot(20e-3, 8e-3) / c)), 1e-9);
end

function [good, remark] = nonlinear()
  p = kestrel.harmonics(kestrel.shell(10e-3, 50e-3, 'amplitude', 0.1), on_axis(50e-3), ...
                        kestrel.medium('lossless'), 1.5e6, 1:3);
  expected = [-1.0857e+03+9.4773e+05j, -9.7497e+04-7.0338e+04j, 1.9789e+04-7.4540e+03j];
  [good, remark] = compare(p, expected, 2e-3);
end

function [element, medium, f0] = bowl()
  element = kestrel.shell(20e-3, 40e-3);
  medium = kestrel.medium('lossless');
  f0 = 1e6;
end

function h = sagitta(element)
  h = element.rad_curvature - sqrt(element.rad_curvature^2 - element.radius^2);
end

function grid = on_axis(z)
  grid = set_coordinate_grid([zeros(numel(z), 2), z]);
end

function [good, remark] = compare(p, expected, allowed)
  difference = max(abs(p - expected)) / max(abs(expected));
  good = difference <= allowed;   % false for NaN
  remark = sprintf('differs by %.1e of the peak, allowed %.0e', difference, allowed);
end
