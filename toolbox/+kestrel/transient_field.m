function [p, info] = transient_field(array, grid, medium, time, ndiv, excitation, varargin)
%TRANSIENT_FIELD  Transient pressure field of an array of elements: pulses.
%   P = kestrel.transient_field(ARRAY, GRID, MEDIUM, TIME, NDIV, EXCITATION) is the
%   pressure at the points of GRID over the times of TIME, the sum over all elements of
%   ARRAY, of any mix of shapes, each in its own place with its own amplitude and delay.
%      ARRAY       elements, from kestrel.linear_array, kestrel.rectangle and others.
%                  The field 'time_delay', seconds, by which an element starts later, may
%                  be missing (no delay): see kestrel.focus_delays. Phases do not count
%      GRID        observation points, from set_coordinate_grid
%      MEDIUM      from kestrel.medium; its attenuation counts in 'kzk_transient' alone
%      TIME        time axis, from set_time_samples or kestrel.time_window
%      NDIV        number of quadrature nodes per integral, at most 10000; [] for
%                  'kzk_transient'. For an element of s wavelengths of the pulse's
%                  frequency, the longer side of a rectangle or the diameter of a round
%                  one, and a Hanning pulse of three cycles, from half a wavelength off
%                  the face on:
%
%                              error 1e-3 of the peak    error 1e-4
%                  rectangle   2.5 s + 2                 3 s + 8
%                  round       4 s + 4                   5 s + 8
%
%                  6 s + 4 keep the error at every point below 1e-3 of its own peak. A
%                  tone burst, whose slope jumps at its ends, needs up to ten times as
%                  many. There is no estimate of the error: compute again with more
%      EXCITATION  velocity of the faces over time, from set_excitation_function: one
%                  for all elements or one for each
%      P           nx-by-ny-by-nz-by-nt for a regular grid, m-by-nt for a list of m
%                  points, in pascals when excitations are in m/s
%
%   [P, INFO] = kestrel.transient_field(...) also returns what was done: the method, the
%   time in seconds, the nodes, the threads, the instruction set, and the working memory
%   and result_memory, that of P, in bytes (the call holds both at once). A march ('kzk_transient') has no quadrature: its nodes are 0; instead it has
%   planes, radial_nodes and samples, the time samples, of the largest march.
%
%   ... = kestrel.transient_field(..., NAME, VALUE, ...) with the options
%      'method'    one of these; not every shape has every method
%         'fnm_tsd'            fast nearfield method with time-space decomposition, the
%                              default
%         'fnm_transient'      the same without decomposition: the same numbers, many
%                              times slower. Only of a sampled signal with a mean it
%                              counts the mean twice: take the mean out
%         'fnm_tsd_low_precision', 'fnm_tsd_sse'
%                              in single precision
%         'fnm_fdtsd'          for sampled excitations
%         'fnm_transient_behind_source', 'fnm_tsd_behind_source'
%                              the points behind a shell
%         'rayleigh_transient' Rayleigh integral, NDIV by NDIV
%         'impulse_response'   of the velocity potential, m/s: P does not depend on NDIV
%                              and EXCITATION
%         'kzk_transient'      nonlinear pulses of circles and shells in a lossy medium,
%                              by the parabolic equation; kestrel.harmonics says where
%                              it is right
%      'kzk'       for 'kzk_transient': a structure with some of the fields step,
%                  radial_step and radius, as in kestrel.harmonics, samples, the time
%                  samples per period of the excitation's frequency (100 if not given, 20
%                  to 2000), and guard, the periods marched before and after the signal
%                  (3; 0.5 to 100). No other method takes it
%      'threads'   number of threads; 0, the default, is one per processor core. The
%                  result does not depend on it
%      'progress'  false: say nothing, however long it takes
%
%   Points behind an element's face receive nothing from it, but by the methods for them.
%   An empty ARRAY gives zeros. Ctrl-C ends the calculation. Values that are NaN or Inf
%   are warned of, and so are a medium's attenuation of more than 0.01 dB/(cm MHz) (water has
%   less) by a method that leaves it out ('kestrel:lossless'), and an array whose phases
%   differ while its delays do not ('kestrel:weights').
%
%   Errors: an argument that is not what it should be (the element and the field are
%   named); a number of excitations that is neither one nor that of the elements; an
%   unknown option or method; a shape that lacks the method.
%
%   Example:
%      medium = kestrel.medium('lossless');
%      array = kestrel.linear_array(32, 0.5e-3, 10e-3, 0.6e-3);
%      array = kestrel.focus_delays(array, [0 0 30e-3], medium);
%      grid = set_coordinate_grid([0.5e-3 0 0.5e-3], -12e-3, 12e-3, 0, 0, 5e-3, 45e-3);
%      time = set_time_samples(0.1e-6, 0, 36e-6);
%      pulse = set_excitation_function(2, 1, 1e6, 3e-6, 0);
%      p = kestrel.transient_field(array, grid, medium, time, 16, pulse);
%      kestrel.show_field(p(:, :, :, 201), grid, 'scale', 'linear');
%
%   See also set_time_samples, set_excitation_function, kestrel.time_window,
%   kestrel.focus_delays, kestrel.plane_wave_delays, kestrel.cw_field.
  caller = 'kestrel.transient_field';
  kestrel.detail.check_count(caller, nargin, 6, ...
                             '(array, grid, medium, time, ndiv, excitation, name, value, ...)');
  options = struct('method', 'fnm_tsd', 'threads', 0, 'progress', true, 'kzk', []);
  options = kestrel.detail.parse_options(caller, options, varargin);
  if ~ischar(options.method)
    error('kestrel:option', '%s: method must be a text.', caller);
  end
  options = kestrel.detail.check_run(caller, options);

  % Elements, times and excitations are checked where they are read, in the compiled part.
  grid = kestrel.detail.check_grid(caller, grid);
  medium = kestrel.detail.check_medium(caller, medium);
  if ~isstruct(time)
    error('kestrel:argument', ...
          '%s: the time must be one structure, as set_time_samples returns.', caller);
  end
  marched = strcmp(options.method, 'kzk_transient');   % without quadrature
  if ~(marched && isnumeric(ndiv) && isempty(ndiv))
    ndiv = kestrel.detail.check_ndiv(caller, ndiv, '.');
  end
  kestrel.detail.check_weights(caller, array, 'phase');
  if ~marched && medium.attenuationdBcmMHz > 0.01
    kestrel.detail.warn('kestrel:lossless', ['%s: the method ''%s'' leaves out the medium''s ' ...
                        'attenuation of %g dB/(cm MHz).'], caller, options.method, ...
                        medium.attenuationdBcmMHz);
  end

  result = cell(1, max(nargout, 1));
  [result{:}] = kestrel.detail.run_compiled(caller, 'transient_field', array, grid, ...
                                            medium, time, ndiv, excitation, options);
  [p, info] = deal(result{[1 end]});
end
