function answer = uses_gnuplot(figure)
%USES_GNUPLOT  Whether Octave's gnuplot toolkit draws a figure. Never in MATLAB.
  answer = isprop(figure, '__graphics_toolkit__') ...
           && strcmp(get(figure, '__graphics_toolkit__'), 'gnuplot');
end
