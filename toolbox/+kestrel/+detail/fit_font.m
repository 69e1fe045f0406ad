function fit_font(handle, room)
%FIT_FONT  Makes a text's font smaller where the text would be longer than ROOM inches.
%   A character is taken to be 0.55 of its font's size wide; fonts stay at 5 points or more.
  longest = max(cellfun(@numel, strsplit(get(handle, 'string'), char(10))));
  font = get(handle, 'fontsize');
  needed = 0.55 * font / 72 * longest;
  if needed > room
    set(handle, 'fontsize', max(floor(10 * font * room / needed) / 10, 5));
  end
end
