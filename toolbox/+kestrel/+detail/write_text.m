function write_text(handle, words)
%WRITE_TEXT  Sets the text of a title, a label or a text object, to be shown as it is.
%   No character is taken for TeX markup. Octave's gnuplot toolkit sends a text to gnuplot
%   between double quotes: there a backquote would run a command of the system, and a
%   quote or the end of a line would end the text, so that gnuplot would run the rest. These
%   characters, the backslash, and @ (before which Octave puts a backslash) are sent as
%   octal codes, which gnuplot turns into the characters after it has read the line.
  words = regexprep(words, '[\x00-\x09\x0b-\x1f\x7f]', ' ');
  if kestrel.detail.uses_gnuplot(ancestor(handle, 'figure'))
    for special = ['\', '"`@', char(10)]   % the backslash first, as the codes have one
      words = strrep(words, special, sprintf('\\%03o', special));
    end
  end
  set(handle, 'interpreter', 'none', 'string', words);
end
