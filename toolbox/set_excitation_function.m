function excitation = set_excitation_function(first, second, third, fourth, fifth)
%SET_EXCITATION_FUNCTION  Signal that drives the elements in a transient calculation.
%   EXCITATION = set_excitation_function(TYPE, A0, F0, PULSE_WIDTH, B) describes
%   an analytic pulse of amplitude A0 (m/s) and frequency F0 (Hz), zero outside
%   0 < t < PULSE_WIDTH (s). TYPE is one of
%
%      1  tone burst     A0 sin(2 pi F0 t)
%      2  Hanning pulse  A0 (1 - cos(2 pi t / PULSE_WIDTH)) sin(2 pi F0 t)
%      3  t-cubed pulse  A0 t^3 exp(-B t) sin(2 pi F0 t), A0 in m/s^4, B in 1/s
%
%   B has no effect for the types 1 and 2: give 0.
%
%   EXCITATION = set_excitation_function(SIGNAL, TS, W, CLIP_THRESHOLD) describes
%   a signal by its samples, a row vector, TS seconds apart, zero outside
%   0 <= t <= W (s). Between the samples it is their trigonometric interpolation.
%   The calculations use the lines of its spectrum whose magnitude exceeds
%   CLIP_THRESHOLD times the largest; a negative CLIP_THRESHOLD is in decibels
%   (-20 keeps what exceeds 1 percent). Fewer lines cost less time. 0 keeps all.
%   With 0 a signal may have a mean; otherwise take the mean out first.
%
%   One excitation drives all elements. For one excitation per element, give
%   TYPE, A0, F0, PULSE_WIDTH and B as vectors with one entry per element, or
%   SIGNAL as a matrix with one row per element and TS, W and CLIP_THRESHOLD as
%   vectors. A single number stands for all elements.
%
%   EXCITATION is an n-by-1 structure array with the fields type, A0, f0,
%   pulse_width and B, or signal, ts, w and clip_threshold.
%
%   Errors: a wrong number of arguments, values that are not real and finite,
%   counts that differ, an unknown TYPE, a width or TS that is not positive, a
%   negative F0, a SIGNAL with fewer than two columns.
%
%   Examples: three cycles at 1 MHz; the same with a smooth envelope; samples
%      tone = set_excitation_function(1, 1, 1e6, 3e-6, 0);
%      pulse = set_excitation_function(2, 1, 1e6, 3e-6, 0);
%      t = 0:20e-9:3e-6;
%      chirp = set_excitation_function(sin(2*pi*(0.5e6 + 0.2e12*t).*t), 20e-9, 3e-6, 0);
%
%   See also set_time_samples, set_coordinate_grid.
  caller = 'set_excitation_function';
  if nargin == 5
    fields = {'type', 'A0', 'f0', 'pulse_width', 'B'};
    values = as_columns(caller, fields, {first, second, third, fourth, fifth});
    if any(~ismember(values{1}, 1:3))
      error('kestrel:argument', ...
            '%s: type must be 1 (tone burst), 2 (Hanning pulse) or 3 (t-cubed pulse).', caller);
    end
    if any(values{3} < 0)
      error('kestrel:argument', '%s: f0 must not be negative.', caller);
    end
    kestrel.detail.check_units(caller, 'Hz', 'f0', values{3});
    check_positive(caller, fields{4}, values{4});
    values = cellfun(@num2cell, values, 'UniformOutput', false);
  elseif nargin == 4
    fields = {'signal', 'ts', 'w', 'clip_threshold'};
    signal = first;
    kestrel.detail.check_numbers(caller, 'signal', signal);
    if ndims(signal) ~= 2 || size(signal, 2) < 2 || size(signal, 1) < 1
      error('kestrel:argument', ...
            ['%s: signal must have at least two columns: its columns are samples, ' ...
             'its rows are elements.'], caller);
    end
    values = as_columns(caller, [{'signal'}, fields(2:4)], ...
                        {zeros(size(signal, 1), 1), second, third, fourth});
    check_positive(caller, fields{2}, values{2});
    check_positive(caller, fields{3}, values{3});
    rows = numel(values{1});
    if size(signal, 1) == 1
      signal = repmat(signal, rows, 1);
    end
    values = cellfun(@num2cell, values, 'UniformOutput', false);
    values{1} = mat2cell(double(full(signal)), ones(rows, 1), size(signal, 2));
  else
    error('kestrel:argument', ...
          ['%s: expected (type, A0, f0, pulse_width, B) or (signal, ts, w, clip_threshold), ' ...
           'but there were %d arguments.'], caller, nargin);
  end
  excitation = cell2struct([values{:}], fields, 2);
end

function values = as_columns(caller, names, values)
% Columns of equal length; single numbers are repeated.
  counts = cellfun(@numel, values);
  rows = max(counts);
  for i = 1:numel(values)
    kestrel.detail.check_numbers(caller, names{i}, values{i});
    if ~isvector(values{i}) || (counts(i) ~= 1 && counts(i) ~= rows)
      error('kestrel:argument', ...
            '%s: %s must be one number or a vector with one entry for each of %d elements.', ...
            caller, names{i}, rows);
    end
    values{i} = double(full(values{i}(:))) .* ones(rows, 1);
  end
end

function check_positive(caller, name, value)
  if any(value <= 0)
    error('kestrel:argument', '%s: %s must be greater than 0.', caller, name);
  end
end
