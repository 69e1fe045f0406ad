function [p, info] = cw_field(array, grid, medium, ndiv, f0, varargin)
%CW_FIELD  Continuous-wave pressure field of an array of elements.
%   P = kestrel.cw_field(ARRAY, GRID, MEDIUM, NDIV, F0) is the complex pressure at
%   the points of GRID, the sum over all elements of ARRAY, of any mix of shapes,
%   each in its own place with its own amplitude and phase.
%      ARRAY   elements, from kestrel.linear_array, kestrel.rectangle and others;
%              fields 'amplitude', 'phase' and 'apodization_index' may be missing
%      GRID    observation points, from set_coordinate_grid
%      MEDIUM  from kestrel.medium
%      NDIV    number of quadrature nodes per integral, or [] with a tolerance and for
%              the method 'kzk_cw'
%              For an element of s wavelengths, the longer side of a rectangle or the
%              diameter of a round one, from half a wavelength off its face on:
%
%                          error 1e-3 of the peak    error 1e-6
%              rectangle   2 s + 2, at least 4       2 s + 8
%              round       2.5 s + 6                 2.5 s + 16
%
%              Points nearer than that need more, points far away fewer. INFO tells the
%              error. At most 10000
%      F0      frequency in hertz
%      P       nx-by-ny-by-nz for a regular grid, m-by-1 for a list of m points, in
%              pascals when amplitudes are in m/s. Time runs as exp(+jwt).
%
%   [P, INFO] = kestrel.cw_field(...) also returns what was done: the method, the time in
%   seconds, the least and the greatest number of nodes, the way taken ('reuse', 'groups',
%   'direct', 'reuse and direct' and so on, or 'march') and how many elements were reused,
%   the threads, the instruction set, the working memory and result_memory, that of P, in
%   bytes (the call holds both at once), and error_estimate, the largest difference between
%   P and a converged field on a sample of points, relative to the largest |P|. A march
%   ('kzk_cw') has no quadrature: its nodes are [0 0] and its error_estimate is NaN; instead
%   it has planes, radial_nodes and harmonics.
%
%   ... = kestrel.cw_field(..., NAME, VALUE, ...) with the options
%      'method'     a continuous-wave method by name, 'fnm_cw' if not given
%      'tolerance'  largest error wanted, relative to the largest |P|; chooses the
%                   number of nodes by element and distance, and NDIV is not used
%      'threads'    number of threads; 0, the default, is one per processor core.
%                   The result does not depend on it
%      'reuse'      false: compute every element at every point, even where equal
%                   elements on the lattice of the grid could share their field, or where
%                   a tolerance lets the field of a group of elements be interpolated
%      'memory'     most bytes of working memory for reuse and groups, 512e6 if not given
%      'progress'   false: say nothing, however long it takes
%      'instruction_set'  'auto', or one of 'scalar', 'baseline', 'avx2', 'avx512',
%                   'neon' to compare them
%      'kzk'        for the nonlinear beam of the method 'kzk_cw', which circles and
%                   shells have: a structure with some of the fields step, radial_step,
%                   radius, harmonics, harmonic (the one delivered, 1 if not given); see
%                   kestrel.harmonics, which gives several at once and says where the
%                   method is right. No other method takes it
%
%   Points behind an element's face receive nothing from it. An empty ARRAY gives
%   zeros. Ctrl-C ends the calculation. Values that are NaN or Inf are warned of, and so is
%   an array delays that differ and phases that do not ('kestrel:weights'): a
%   'time_delay' does not count here.
%
%   Errors: an argument that is not what it should be (the element and the field
%   are named); an unknown option or method; a shape that lacks the method.
%
%   Example:
%      medium = kestrel.medium('water');
%      array = kestrel.linear_array(64, 0.5e-3, 10e-3, 0.6e-3);
%      array = kestrel.focus(array, [0 0 40e-3], medium, 1e6);
%      grid = set_coordinate_grid(0.2e-3, -20e-3, 20e-3, 0, 0, 0.5e-3, 60e-3);
%      [p, info] = kestrel.cw_field(array, grid, medium, [], 1e6, 'tolerance', 1e-4);
%      kestrel.show_field(p, grid);
%
%   See also kestrel.harmonics, kestrel.show_field, kestrel.focus, kestrel.medium,
%   set_coordinate_grid.
  caller = 'kestrel.cw_field';
  kestrel.detail.check_count(caller, nargin, 5, ...
                             '(array, grid, medium, ndiv, f0, name, value, ...)');
  options = struct('method', 'fnm_cw', 'threads', 0, 'reuse', true, 'tolerance', [], ...
                   'memory', 512e6, 'progress', true, 'instruction_set', 'auto', 'kzk', []);
  options = kestrel.detail.parse_options(caller, options, varargin);
  if ~ischar(options.method)
    error('kestrel:option', '%s: method must be a text.', caller);
  end
  if ~ischar(options.instruction_set)
    error('kestrel:option', '%s: instruction_set must be a text.', caller);
  end
  options = kestrel.detail.check_run(caller, options);
  options.memory = kestrel.detail.check_scalar(caller, 'memory', options.memory, 'positive');
  options.reuse = kestrel.detail.check_switch(caller, 'reuse', options.reuse);
  if ~isempty(options.tolerance)
    options.tolerance = kestrel.detail.check_scalar(caller, 'tolerance', options.tolerance, ...
                                                    'positive');
  end

  % The elements are checked where they are read, in the compiled part.
  grid = kestrel.detail.check_grid(caller, grid);
  medium = kestrel.detail.check_medium(caller, medium);
  marched = strcmp(options.method, 'kzk_cw');   % without quadrature
  if ~isnumeric(ndiv) || ~isempty(ndiv)
    ndiv = kestrel.detail.check_ndiv(caller, ndiv, ': are ndiv and f0 swapped?');
  elseif isempty(options.tolerance) && ~marched
    error('kestrel:argument', ...
          '%s: ndiv may be [] only when the option ''tolerance'' is given.', caller);
  end
  f0 = kestrel.detail.check_frequency(caller, f0);
  kestrel.detail.check_weights(caller, array, 'time_delay');

  result = cell(1, max(nargout, 1));
  [result{:}] = kestrel.detail.run_compiled(caller, 'array_field', array, grid, medium, ...
                                            ndiv, f0, options);
  [p, info] = deal(result{[1 end]});
end
