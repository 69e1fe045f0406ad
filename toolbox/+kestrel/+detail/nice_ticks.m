function ticks = nice_ticks(limits, count)
%NICE_TICKS  Multiples of 1, 2 or 5 times a power of ten inside the limits, at most COUNT or so.
%   With COUNT of 2 or more there are at least two.
  raw = diff(limits) / max(min(count, 6), 1);
  steps = 10^floor(log10(raw)) * [0.1 0.2 0.5 1 2 5 10];
  first = find(steps >= raw * (1 - 1e-9), 1);
  ticks = multiples(limits, steps(first));
  while numel(ticks) < 2 && count >= 2 && first > 1
    % Of a finer step only the outermost: they are the farthest apart.
    first = first - 1;
    ticks = multiples(limits, steps(first));
    ticks = ticks([1:min(1, end), max(end, 2):end]);
  end
end

function ticks = multiples(limits, step)
  ticks = (ceil(limits(1) / step - 1e-9):floor(limits(2) / step + 1e-9)) * step;
  ticks(ticks == 0) = 0;   % no "-0"
end
