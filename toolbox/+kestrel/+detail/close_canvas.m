function close_canvas(canvas)
%CLOSE_CANVAS  Removes a hidden canvas and makes the figure before it current again.
  if ~isempty(canvas.file)
    close(canvas.figure);
    if ~isempty(canvas.previous) && ishghandle(canvas.previous)
      set(0, 'currentfigure', canvas.previous);
    end
  end
end
