% kestrel.cw_field: mixed arrays, options, what it reports, what it refuses.

addpath(fullfile(fileparts(mfilename('fullpath')), 'support'));
f0 = 1e6;
medium = kestrel.medium('water', 'attenuationdBcmMHz', 0.4);
grid = set_coordinate_grid([0.5e-3 1e-3 2e-3], -5e-3, 5e-3, -2e-3, 2e-3, 1e-3, 21e-3);
array = kestrel.linear_array(8, 0.5e-3, 4e-3, 1e-3);
array = kestrel.focus(array, [0 0 15e-3], medium, f0);

% The same field by every way; shape and type of the result.
p = kestrel.cw_field(array, grid, medium, 12, f0);
assert(size(p), [21 5 11]);
assert(iscomplex(p));
[q, info] = kestrel.cw_field(array, grid, medium, 12, f0, 'reuse', false, 'threads', 1);
assert(info.way, 'direct');
assert(info.threads, 1);
assert(info.nodes, [12 12]);
assert(max(abs(p(:) - q(:))) <= 1e-12 * max(abs(q(:))));
assert(isequal(q, kestrel.cw_field(array, grid, medium, 12, f0, 'Reuse', 0, 'threads', 3)));
single_call = 0;
for i = 1:numel(array)
  single_call = single_call + fnm_cw_single(array(i), grid, medium, 12, f0);
end
r = kestrel.cw_field(array, grid, medium, 12, f0, 'method', 'fnm_cw_single');
assert(max(abs(r(:) - single_call(:))) <= 1e-13 * max(abs(q(:))));

% Rows and columns of elements, a list of points, an empty array, an absent weight.
assert(kestrel.cw_field(array(:), grid, medium, 12, f0), p);
list = struct('coordinates', [0 0 5e-3; 1e-3 0 7e-3]);
assert(size(kestrel.cw_field(array, list, medium, 12, f0)), [2 1]);
nothing = kestrel.cw_field(array([]), grid, medium, 12, f0);
assert(size(nothing), size(p));
assert(all(nothing(:) == 0));
plain = rmfield(kestrel.rectangle(1e-3, 2e-3), {'amplitude', 'phase'});
assert(kestrel.cw_field(plain, grid, medium, 12, f0), ...
       kestrel.cw_field(kestrel.rectangle(1e-3, 2e-3), grid, medium, 12, f0));

% An apodized piston.
piston = kestrel.circle(3e-3);
piston.apodization_index = 2;
a = kestrel.cw_field(piston, grid, medium, 12, f0, 'method', 'rayleigh_cw_apodized');
piston.apodization_index = 0;
b = kestrel.cw_field(piston, grid, medium, 12, f0, 'method', 'rayleigh_cw_apodized');
assert(max(abs(a(:))) < 0.9 * max(abs(b(:))));

% Nodes by tolerance, and the estimate of the error.
[t, info] = kestrel.cw_field(array, grid, medium, [], f0, 'tolerance', 1e-5);
exact = kestrel.cw_field(array, grid, medium, 80, f0);
truth = max(abs(t(:) - exact(:))) / max(abs(exact(:)));
assert(truth <= 1e-5);
assert(info.error_estimate <= 1e-5);
[coarse, info] = kestrel.cw_field(array, grid, medium, 3, f0);
truth = max(abs(coarse(:) - exact(:))) / max(abs(exact(:)));
assert(info.error_estimate > truth / 3 && info.error_estimate < truth * 3);
assert(info.time > 0 && info.memory > 0);
[s, info] = kestrel.cw_field(array, grid, medium, 12, f0, 'instruction_set', 'scalar');
assert(info.instruction_set, 'scalar');
assert(max(abs(s(:) - p(:))) <= 1e-13 * max(abs(p(:))));

bad = array;
bad(5).width = -1;
expect_refused('kestrel.cw_field', {
  {array, grid, medium, 12, f0, 'method', 'fnm'}, 'unknown method ''fnm''; the methods are ''farfield_cw'''
  {array, grid, medium, 12, f0, 'method', 3}, 'method must be'
  {array, grid, medium, 12, f0, 'method', 'kzk_cw'}, 'element 1: the shape ''rect'' has no method ''kzk_cw'''
  {array, grid, medium, 12, f0, 'threads', 1.5}, 'threads must be'
  {array, grid, medium, 12, f0, 'reuse', 'yes'}, 'reuse must be true or false'
  {array, grid, medium, 12, f0, 'memory', 0}, 'memory must be'
  {array, grid, medium, 12, f0, 'tolerance', -1}, 'tolerance must be'
  {array, grid, medium, [], f0}, 'ndiv may be [] only'
  {array, grid, medium, 12, 0}, 'f0 must be'
  {bad, grid, medium, 12, f0}, 'element 5: width must be positive'
  {array, 5, medium, 12, f0}, 'the grid must be'
  {array, grid, 5, 12, f0}, 'the medium must be'
});

% All compiled names but the plug-in's stay inside the package.
assert(exist('array_field'), 0);
