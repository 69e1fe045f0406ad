function time = time_window(array, grid, medium, excitation, varargin)
%TIME_WINDOW  Time axis that holds the pulses of an array at all points of a grid.
%   TIME = kestrel.time_window(ARRAY, GRID, MEDIUM, EXCITATION) is a structure as from
%   set_time_samples, for kestrel.transient_field: it begins before the first wave arrives
%   anywhere on GRID and ends after the last one has passed, delays and the length of the
%   pulse included. With the fields
%      deltat  step in seconds: a twentieth of the period of the highest frequency of
%              EXCITATION, or the step of a sampled signal
%      tmin    first time, a whole number of steps
%      tmax    last time
%   The arguments are those of kestrel.transient_field.
%
%   TIME = kestrel.time_window(..., 'samples', N) takes N steps per period in place of 20.
%
%   An element is taken for a ball around its centre that holds its face: the
%   window is never too short, and longer than need be by up to the time that sound takes
%   over the diameter of that ball. The memory that a field takes grows with the window:
%   for a single depth give a GRID of it.
%
%   Errors: an argument that is not what it should be, a number of excitations that is
%   neither one nor that of the elements, an empty ARRAY or GRID, an unknown option.
%
%   Example:
%      medium = kestrel.medium('lossless');
%      array = kestrel.focus_delays(kestrel.linear_array(32, 0.5e-3, 10e-3, 0.6e-3), ...
%                                   [0 0 30e-3], medium);
%      grid = set_coordinate_grid([0 0 30e-3; 5e-3 0 30e-3]);
%      pulse = set_excitation_function(2, 1, 1e6, 3e-6, 0);
%      time = kestrel.time_window(array, grid, medium, pulse);
%      p = kestrel.transient_field(array, grid, medium, time, 24, pulse);
%      plot(1e6 * (time.tmin + (0:size(p, 2) - 1) * time.deltat), p.')
%
%   See also set_time_samples, set_excitation_function, kestrel.transient_field.
  caller = 'kestrel.time_window';
  kestrel.detail.check_count(caller, nargin, 4, ...
                             '(array, grid, medium, excitation, name, value, ...)');
  kestrel.detail.check_array(caller, array);
  grid = kestrel.detail.check_grid(caller, grid);
  medium = kestrel.detail.check_medium(caller, medium);
  options = kestrel.detail.parse_options(caller, struct('samples', 20), varargin);
  steps = kestrel.detail.check_scalar(caller, 'samples', options.samples, 'count');
  if isempty(array) || (isfield(grid, 'coordinates') && isempty(grid.coordinates))
    error('kestrel:argument', '%s: there must be at least one element and one point.', caller);
  end
  [width, deltat] = lengths(caller, excitation, steps, numel(array));

  [nearest, farthest] = distances(array, grid);
  [~, reach] = kestrel.detail.run_compiled(caller, 'arrays', 'faces', struct(), array);
  delay = kestrel.detail.field_columns(array, 'time_delay', 0);
  first = min(max(nearest - reach, 0) / medium.soundspeed + delay);
  last = max((farthest + reach) / medium.soundspeed + delay + width);
  tmin = deltat * floor(first / deltat);
  time = set_time_samples(deltat, tmin, tmin + deltat * ceil((last - tmin) / deltat));
end

% How long the pulse of each element lasts, and the step that samples all of them.
function [width, deltat] = lengths(caller, excitation, steps, n)
  if ~isstruct(excitation) || ~any(numel(excitation) == [1 n])
    error('kestrel:argument', ['%s: the excitation must be one structure, or one for each ' ...
          'element, as set_excitation_function returns.'], caller);
  end
  names = {'pulse_width', 'f0'};
  if isfield(excitation, 'signal')
    names = {'w', 'ts'};
  end
  values = cell(1, 2);
  for i = 1:2
    if ~isfield(excitation, names{i})
      error('kestrel:argument', '%s: the excitation lacks the field ''%s''.', caller, names{i});
    end
    for j = 1:numel(excitation)
      values{i}(j) = kestrel.detail.check_scalar(caller, ['the excitation''s ', names{i}], ...
                                                 excitation(j).(names{i}), 'nonnegative');
    end
  end
  width = values{1} .* ones(1, n);
  if any(width == 0)
    error('kestrel:argument', '%s: the excitation''s %s must be greater than 0.', caller, names{1});
  end
  if isfield(excitation, 'signal')
    deltat = min(values{2});
  else
    deltat = 1 / (steps * max([values{2}, 1 ./ width]));   % 0 Hz: the pulse is its own period
  end
  if deltat == 0
    error('kestrel:argument', '%s: the excitation''s ts must be greater than 0.', caller);
  end
end

% Distances from each element's centre to the nearest and the farthest point.
function [nearest, farthest] = distances(array, grid)
  centers = kestrel.detail.field_columns(array, 'center');
  if isfield(grid, 'coordinates')
    nearest = zeros(1, numel(array));
    farthest = nearest;
    for i = 1:numel(array)
      offset = grid.coordinates - repmat(centers(:, i).', size(grid.coordinates, 1), 1);
      squared = sum(offset .^ 2, 2);
      nearest(i) = sqrt(min(squared));
      farthest(i) = sqrt(max(squared));
    end
    return
  end
  values = kestrel.detail.grid_axes(grid);
  low = repmat(cellfun(@min, values).', 1, numel(array));
  high = repmat(cellfun(@max, values).', 1, numel(array));
  nearest = sqrt(sum(max(max(low - centers, centers - high), 0) .^ 2, 1));
  farthest = sqrt(sum(max(abs(low - centers), abs(high - centers)) .^ 2, 1));
end
