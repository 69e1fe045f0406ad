function map = field_colours(scale)
%FIELD_COLOURS  Colour map with 256 entries for a scale of kestrel.show_field.
%   Lightness grows evenly from black over red to pale yellow, so that equal steps
%   in the field look equal, in grey print too. A phase wraps, and so do its colours.
  if strcmp(scale, 'phase')
    map = hsv(256);
    return
  end
  anchors = [0 0 4; 27 12 65; 74 12 107; 120 28 109; 165 44 96; 207 68 70; ...
             237 105 37; 251 155 6; 247 209 61; 252 255 164] / 255;
  map = interp1(linspace(0, 1, size(anchors, 1)), anchors, linspace(0, 1, 256));
end
