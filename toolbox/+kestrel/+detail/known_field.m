function [array, points, f0, p] = known_field()
%KNOWN_FIELD  An array of all five shapes, points (m by 3), and its field there.
%   In the medium 'lossless'. P is the Rayleigh integral over the faces, with 60 by 60 and
%   more Gauss-Legendre nodes on each.
  f0 = 0.8e6;
  array = [ ...
    kestrel.rectangle(4e-3, 6e-3, 'center', [-9e-3 0 0], 'euler', [0.3 0.1 0.5], 'phase', 0.4), ...
    kestrel.circle(3e-3, 'center', [0 -9e-3 1e-3], 'euler', [0 -0.3 0], 'amplitude', 1.4), ...
    kestrel.ring(2e-3, 4e-3, 'center', [9e-3 1e-3 0], 'euler', [-0.3 0 0], 'phase', -2), ...
    kestrel.shell(5e-3, 18e-3, 'center', [0 9e-3 -2e-3], 'euler', [0.1 0.4 0], ...
                  'amplitude', 0.7), ...
    kestrel.shell_ring(1e-3, 4e-3, 25e-3, 'phase', 1.1)];
  points = [0 0 25; 3 -2 18; -8 5 30; 12 9 40; 1 1 70; -20 10 15] * 1e-3;
  p = [6.6516690823838e+05+7.4447981075353e+05j
       -4.9005631021261e+04+5.4059581941620e+03j
       -2.8784920845719e+05+6.3615517505208e+03j
       -3.1858043147768e+05+3.1120572225494e+04j
       3.9530567364413e+05+6.1998270181314e+05j
       -4.9107500608574e+04-1.0996169640582e+05j];
end
