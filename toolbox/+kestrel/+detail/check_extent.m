function check_extent(caller, what, points)
%CHECK_EXTENT  Refuses what is too large or too small to be drawn, in metres.
%   POINTS has a row per coordinate. Beyond these limits the interpreter's axes overflow, or
%   the differences of the coordinates are lost to rounding.
  extent = max(max(points, [], 2) - min(points, [], 2));
  if ~(extent >= 1e-12 && extent <= 1e9)
    error('kestrel:argument', '%s: %s is %.3g m large, which cannot be drawn.', caller, what, ...
          extent);
  end
  farthest = max(abs(points(:)));
  if ~(farthest <= 1e9)
    error('kestrel:argument', '%s: %s lies up to %.3g m away, where nothing can be drawn.', ...
          caller, what, farthest);
  end
end
