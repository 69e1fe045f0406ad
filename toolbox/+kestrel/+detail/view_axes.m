function rows = view_axes(direction)
%VIEW_AXES  Directions in space of a picture seen from [azimuth elevation] in degrees.
%   The rows of ROWS are unit vectors: towards the viewer, to the right, and up.
  azimuth = direction(1) * pi / 180;
  elevation = direction(2) * pi / 180;
  toward = [cos(elevation) * sin(azimuth), -cos(elevation) * cos(azimuth), sin(elevation)];
  right = [cos(azimuth), sin(azimuth), 0];
  rows = [toward; right; cross(toward, right)];
end
