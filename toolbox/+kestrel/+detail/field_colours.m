function map = field_colours(scale)
%FIELD_COLOURS  Colour map with 256 entries for a scale of kestrel.show_field.
%   Magnitudes: lightness grows evenly from black over red to pale yellow, so that equal
%   steps in the field look equal, in grey print too. A phase wraps, and so do its colours:
%   a circle of hues of one lightness (70) and chroma (38) in CIELAB, on which no phase
%   stands out. Signed values: white at 0, darker evenly towards blue (negative) and red.
  switch scale
    case 'phase'
      anchors = [235 144 172; 237 147 138; 222 157 112; 194 169 101; 158 179 110; ...
                 117 186 135; 69 189 170; 17 189 204; 58 184 230; 121 174 240; ...
                 175 162 231; 214 150 206; 235 144 172];
    case 'signed'
      anchors = [8 36 89; 35 97 170; 103 161 208; 186 214 232; 247 247 247; ...
                 248 205 178; 231 145 108; 190 68 48; 109 14 26];
    otherwise
      anchors = [0 0 4; 27 12 65; 74 12 107; 120 28 109; 165 44 96; 207 68 70; ...
                 237 105 37; 251 155 6; 247 209 61; 252 255 164];
  end
  map = interp1(linspace(0, 1, size(anchors, 1)), anchors / 255, linspace(0, 1, 256));
end
