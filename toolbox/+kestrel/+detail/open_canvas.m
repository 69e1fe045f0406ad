function canvas = open_canvas(file)
%OPEN_CANVAS  Axes to draw in: the current ones, or those of a hidden figure.
%   With FILE empty, the current axes are prepared as PLOT would. Otherwise a
%   hidden figure is made, which close_canvas removes, and which needs no display.
  canvas = struct('file', file, 'figure', [], 'axes', [], 'previous', []);
  if isempty(file)
    canvas.axes = newplot();
    canvas.figure = gcf();
    return
  end
  canvas.previous = get(0, 'currentfigure');
  if exist('OCTAVE_VERSION', 'builtin') && any(strcmp('gnuplot', available_graphics_toolkits()))
    % Of Octave's toolkits only gnuplot draws without a display. A figure keeps the toolkit
    % that it was made with, so the user's choice is put back at once.
    toolkit = graphics_toolkit();
    warning('off', 'Octave:gnuplot-graphics', 'local');
    graphics_toolkit('gnuplot');
    canvas.figure = figure('visible', 'off');
    graphics_toolkit(toolkit);
  else
    canvas.figure = figure('visible', 'off');
  end
  set(canvas.figure, 'color', 'w', 'paperunits', 'inches', 'paperposition', [0 0 8 6.4]);
  if isprop(canvas.figure, 'Theme')
    set(canvas.figure, 'Theme', 'light');   % in dark mode texts would be white on white
  end
  canvas.axes = axes('parent', canvas.figure);
end
