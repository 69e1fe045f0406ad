% kestrel.harmonics and the nonlinear methods of kestrel.cw_field and kestrel.transient_field: what
% belongs together agrees, and every row of what can go wrong is answered.

addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
f0 = 1e6;
medium = kestrel.medium('water');
drive = 0.1;
shell = kestrel.shell(12e-3, 50e-3, 'amplitude', drive, 'phase', 0.4);
piston = kestrel.circle(8e-3, 'amplitude', drive);
points = set_coordinate_grid([0 0 30e-3; 2e-3 0 45e-3; 0 -3e-3 50e-3; 0 0 -1e-3]);
march = struct('harmonics', 16);

% All from one march, and one by one; the linear limit; a doubled drive and the second harmonic.
[p, info] = kestrel.harmonics(shell, points, medium, f0, [1 2 3], 'kzk', march);
assert(size(p), [4 3]);
assert(all(p(4, :) == 0));   % behind the shell
assert(info.harmonics, 16);
one = kestrel.cw_field(shell, points, medium, [], f0, 'method', 'kzk_cw', ...
                       'kzk', struct('harmonics', 16, 'harmonic', 2), 'threads', 1);
assert(one, p(:, 2));
weak = kestrel.shell(12e-3, 50e-3, 'amplitude', 1e-4, 'phase', 0.4);
w = kestrel.harmonics(weak, points, medium, f0, 1:2);
linear = kestrel.cw_field(weak, points, medium, 60, f0);
assert(w(1:3, 1), linear(1:3), 0.02 * max(abs(linear)));
twice = kestrel.shell(12e-3, 50e-3, 'amplitude', 2e-4, 'phase', 0.4);
w2 = kestrel.harmonics(twice, points, medium, f0, 1:2);
assert(w2(1:3, :), w(1:3, :) .* [2 4], 1e-6 * max(abs(w2(:, 2))) * [1e4 1]);
grid = set_coordinate_grid([1e-3 0 5e-3], 0, 3e-3, 0, 0, 30e-3, 50e-3);
assert(size(kestrel.harmonics(piston, grid, medium, f0, 1:2)), [4 1 5 2]);
% The phase turns harmonic m m times; two elements add.
turned = kestrel.circle(8e-3, 'amplitude', drive, 'phase', 1.1);
a = kestrel.harmonics(piston, points, medium, f0, [1 3]);
b = kestrel.harmonics(turned, points, medium, f0, [1 3]);
assert(b(1:3, :), a(1:3, :) .* exp(1j * 1.1 * [1 3]), 1e-12 * max(abs(a(:))));
both = kestrel.harmonics(kestrel.join(piston, turned), points, medium, f0, [1 3]);
assert(both, a + b, 1e-12 * max(abs(a(:))));

% Pulses: in the weak limit those of the linear method.
pulse = set_excitation_function(2, 1, f0, 3e-6, 0);
time = set_time_samples(50e-9, 28e-6, 40e-6);
on_axis = set_coordinate_grid([0 0 45e-3]);
weak = kestrel.circle(8e-3, 'amplitude', 1e-4);
[t, info] = kestrel.transient_field(weak, on_axis, kestrel.medium('lossless'), time, [], pulse, ...
                                    'method', 'kzk_transient', 'kzk', struct('samples', 80));
assert(size(t), [1 241]);
assert(info.samples > 80);
exact = kestrel.transient_field(weak, on_axis, kestrel.medium('lossless'), time, 40, pulse);
assert(t, exact, 0.01 * max(abs(exact)));

% What is answered, and how: arguments, error or warning. Nothing is lost, so the next call works.
of = @(element, m, varargin) [{element, points, m, f0, 1}, varargin];
field = @(varargin) kestrel.harmonics(of(varargin{:}){:});
expect_refused('kestrel.harmonics', {
  of(setfield(shell, 'rad_curvature', 10e-3), medium), 'element 1: rad_curvature = 0.01 must not be below radius'
  of(setfield(piston, 'amplitude', 1e9), medium), 'element 1: the method ''kzk_cw'' failed. The nonlinear march blew up; the drive is too strong.'
  of(kestrel.rectangle(1e-3, 1e-3), medium), 'the shape ''rect'' has no method ''kzk_cw'''
  of(piston, setfield(medium, 'nonlinearityparameter', NaN)), 'nonlinearityparameter must be one real, finite number'
  of(piston, setfield(medium, 'attenuationdBcmMHz', -1)), 'attenuationdBcmMHz must not be negative'
  of(piston, setfield(medium, 'density', 0)), 'density must be greater than 0'
  {piston, points, medium, 0, 1}, 'f0 must be greater than 0'
  {piston, points, medium, f0, 31}, 'harmonic 31 was asked for, but the march carries the harmonics 1 to 30'
  {piston, points, medium, f0, 1.5}, 'a harmonic must be a whole number of at least 1'
  {piston, points, medium, f0, 'all'}, 'the numbers of the harmonics must be whole numbers'
  of(piston, medium, 'threads', 1e10), 'threads must be a whole number from 0 to 1024'
  of(piston, medium, 'kzk', struct('step', 'fine')), 'Field ''step'' of the option ''kzk'' must be a number'
  of(piston, medium, 'harmonics', 3), 'unknown option ''harmonics'''
});
expect_refused('kestrel.transient_field', {
  {piston, on_axis, medium, time, [], [], 'method', 'kzk_transient'}, 'excitation'
  {piston, on_axis, medium, time, [], pulse, 'method', 'kzk_transient', 'kzk', struct('harmonics', 3)}, ...
    'what it may have is step, radial_step, radius, samples, guard'
});

warned = {
  @() field(piston, setfield(medium, 'nonlinearityparameter', -1)), 'Nonlinearity parameter is negative'
  @() field(kestrel.circle(1e-3), medium), 'ka below 10'
  @() field(kestrel.shell(30e-3, 50e-3, 'amplitude', 1e-3), medium), 'half angle is 36.9 degrees'
  @() field(piston, medium, 'kzk', struct('step', 5)), 'the axial step factor must lie between 0.05 and 4'
  @() field(piston, medium, 'kzk', struct('radial_step', 0.2)), 'the radial step, in source radii, must lie between 0.0005 and 0.1'
  @() field(piston, medium, 'kzk', struct('radius', 101)), 'the domain radius, in source radii, must lie between 1.5 and 100'
  @() field(setfield(shell, 'amplitude', 1), medium), 'The shock is stronger than the harmonics carried can hold'
  };
plain = field(piston, medium);
for i = 1:size(warned, 1)
  lastwarn('');
  p = warned{i, 1}();
  assert(~isempty(strfind(lastwarn(), warned{i, 2})), [warned{i, 2} ' <- ' lastwarn()]);
  assert(all(isfinite(p)) && any(p ~= 0));
end

% Quietly: nothing to radiate, nowhere to hear it, defaults asked for by 0, NaN and empty.
lastwarn('');
assert(all(field(setfield(piston, 'amplitude', 0), medium) == 0));
assert(size(kestrel.harmonics(piston, set_coordinate_grid(zeros(0, 3)), medium, f0, 1:2)), [0 2]);
assert(kestrel.harmonics(piston, set_coordinate_grid([0 0 -1e-3]), medium, f0, 1) == 0);
assert(field(piston, medium, 'kzk', struct('step', 0, 'radial_step', NaN, 'harmonics', 0)), plain);
assert(field(piston, medium, 'kzk', []), plain);
assert(isempty(lastwarn()), lastwarn());
none = kestrel.harmonics(piston, points, setfield(medium, 'nonlinearityparameter', 0), f0, [1 2]);
assert(all(none(:, 2) == 0) && any(none(:, 1) ~= 0));
assert(~isempty(strfind(lastwarn(), 'there are no harmonics above the first')), lastwarn());
