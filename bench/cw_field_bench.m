% Whole arrays through GNU Octave, as ratios measured in one run:
%    octave-cli --norc --path build/toolbox --path bench --eval cw_field_bench

f0 = 1e6;
lossy = kestrel.medium('water', 'attenuationdBcmMHz', 0.5);
lossless = kestrel.medium('lossless');
best = @(varargin) min(arrayfun(@(i) nthargout(2, @kestrel.cw_field, varargin{:}).time, 1:5));

% 1024 elements at a million points, against the plain scalar loop over elements and points.
array = kestrel.planar_array([32 32], 0.5e-3, 0.5e-3, [0.6e-3 0.6e-3]);
array = kestrel.focus(array, [0 0 40e-3], lossy, f0);
grid = set_coordinate_grid([0.3e-3 0.3e-3 0.6e-3], -15e-3, 15e-3, -15e-3, 15e-3, 0.6e-3, 60.6e-3);
seconds = Inf;
for i = 1:3
  tic;
  [p, info] = kestrel.cw_field(array, grid, lossy, 8, f0);
  seconds = min(seconds, toc);
end
rand('seed', 1);
sample = ceil(numel(p) * rand(300, 1));
[ix, iy, iz] = ind2sub(size(p), sample);
list = set_coordinate_grid([(ix - 1) * 0.3e-3 - 15e-3, (iy - 1) * 0.3e-3 - 15e-3, iz * 0.6e-3]);
tic;
plain = kestrel.cw_field(array, list, lossy, 8, f0, 'reuse', false, 'threads', 1, ...
                         'instruction_set', 'scalar');
plain_seconds = toc * numel(p) / numel(sample);
printf('1024 elements, %d points: %.3f s (%s, %d threads, error %.1e), plain loop %.0f s: %.0f times; equal to %.1e\n', ...
       numel(p), seconds, info.way, info.threads, info.error_estimate, plain_seconds, ...
       plain_seconds / seconds, max(abs(p(sample) - plain)) / max(abs(p(:))));

% 64 bars at 201 by 201 points, one thread.
array = kestrel.linear_array(64, 0.5e-3, 10e-3, 0.6e-3);
array = kestrel.focus(array, [0 0 40e-3], lossless, f0);
grid = set_coordinate_grid([40e-3 / 200, 0, 59.5e-3 / 200], -20e-3, 20e-3, 0, 0, 0.5e-3, 60e-3);
exact = kestrel.cw_field(array, grid, lossless, 100, f0);
nodes = ceil(2 * 10e-3 * f0 / 1500) + 8;
one = {'threads', 1};
[p, info] = kestrel.cw_field(array, grid, lossless, nodes, f0, one{:});
z = grid.zmin + (0:200) * grid.delta(3);
inside = z >= 1e-3;
error_away = max(max(abs(p(:, 1, inside) - exact(:, 1, inside)))) / max(abs(exact(:)));
reuse = best(array, grid, lossless, nodes, f0, one{:});
direct = best(array, grid, lossless, nodes, f0, one{:}, 'reuse', false);
direct_lossy = best(array, grid, lossy, nodes, f0, one{:}, 'reuse', false);
two = best(array, grid, lossless, nodes, f0, 'threads', 2, 'reuse', false);
tolerance = best(array, grid, lossless, [], f0, one{:}, 'reuse', false, 'tolerance', 1e-6);
printf('64 bars, %d points, %d nodes, error %.1e: reuse %.4f s, direct %.3f s, direct with loss %.2f times, two threads %.2f times as fast, by tolerance 1e-6 %.3f s\n', ...
       numel(p), nodes, error_away, reuse, direct, direct_lossy / direct, direct / two, tolerance);
