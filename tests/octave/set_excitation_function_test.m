% Both forms, one row and one row per element, and what is refused.

addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
tone = set_excitation_function(1, 2.5, 1e6, 3e-6, 0);
assert(tone, struct('type', 1, 'A0', 2.5, 'f0', 1e6, 'pulse_width', 3e-6, 'B', 0));

three = set_excitation_function([1 2 3], [1; 2; 3], 1e6, 3e-6, single(4));
assert(size(three), [3 1]);
assert([three.type], [1 2 3]);
assert([three.A0], [1 2 3]);
assert([three.f0], 1e6 * [1 1 1]);
assert(class(three(2).B), 'double');

one = set_excitation_function([0 1 0 -1], 1e-7, 4e-7, -20);
assert(one, struct('signal', [0 1 0 -1], 'ts', 1e-7, 'w', 4e-7, 'clip_threshold', -20));

two = set_excitation_function(int16([1 2 3; 4 5 6]), 1e-7, [2e-7 3e-7], 0);
assert(size(two), [2 1]);
assert(two(2).signal, [4 5 6]);
assert([two.w], [2e-7 3e-7]);

% One signal, several widths.
widths = set_excitation_function([1 2 3], 1e-7, [2e-7 3e-7], 0);
assert(widths(2).signal, [1 2 3]);

expect_refused('set_excitation_function', {
  {}, 'arguments'
  {1, 1, 1e6}, 'there were 3 arguments'
  {4, 1, 1e6, 3e-6, 0}, 'type must be'
  {1.5, 1, 1e6, 3e-6, 0}, 'type must be'
  {'1', 1, 1e6, 3e-6, 0}, 'type must be real'
  {1, NaN, 1e6, 3e-6, 0}, 'A0 must be real'
  {1, 1i, 1e6, 3e-6, 0}, 'A0 must be real'
  {1, 1, -1, 3e-6, 0}, 'f0 must not be negative'
  {1, 1, 1e6, 0, 0}, 'pulse_width must be greater'
  {1, [1 2], [1 2 3], 3e-6, 0}, 'A0 must be one number or a vector'
  {1, [], 1e6, 3e-6, 0}, 'A0 must be one number'
  {1, ones(2), 1e6, 3e-6, 0}, 'A0 must be one number'
  {[1; 2; 3], 1e-7, 1e-6, 0}, 'at least two columns'
  {[], 1e-7, 1e-6, 0}, 'at least two columns'
  {{1, 2}, 1e-7, 1e-6, 0}, 'signal must be real'
  {[1 Inf], 1e-7, 1e-6, 0}, 'signal must be real'
  {[1 2; 3 4], 1e-7, [1 2 3], 0}, 'signal must be one number or a vector'
  {[1 2], 0, 1e-6, 0}, 'ts must be greater'
  {[1 2], 1e-7, -1, 0}, 'w must be greater'
});
