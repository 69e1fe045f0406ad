function [value, pairs] = take_option(name, value, pairs)
%TAKE_OPTION  Takes one option out of name-value pairs that another function reads.
%   VALUE comes in as the default. Of several pairs with this NAME the last counts.
  remaining = true(size(pairs));
  for i = 1:2:numel(pairs) - 1
    given = pairs{i};
    if (ischar(given) || (isstring(given) && isscalar(given))) && strcmpi(char(given), name)
      value = pairs{i + 1};
      remaining(i:i + 1) = false;
    end
  end
  pairs = pairs(remaining);
end
