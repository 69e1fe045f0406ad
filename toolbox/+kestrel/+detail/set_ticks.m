function set_ticks(ax, size_inches)
%SET_TICKS  Ticks of an image so far apart that their texts do not touch.
%   SIZE_INCHES is [width height] of the axes on the page.
  kinds = {'x', 0.5; 'y', 0.3};   % room that a tick's text takes, in inches
  for i = 1:2
    limits = get(ax, [kinds{i, 1}, 'lim']);
    ticks = kestrel.detail.nice_ticks(limits, floor(size_inches(i) / kinds{i, 2}));
    set(ax, [kinds{i, 1}, 'tick'], ticks);
  end
end
