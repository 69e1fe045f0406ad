function element = rectangle(width, height, varargin)
%RECTANGLE  Flat rectangular element.
%   ELEMENT = kestrel.rectangle(WIDTH, HEIGHT) is a rectangle that extends WIDTH
%   metres along x and HEIGHT metres along y, centred at the origin and radiating
%   into z > 0. ELEMENT is a 1-by-1 structure; elements of any shapes join to an
%   array with [a, b, ...].
%
%   ELEMENT = kestrel.rectangle(WIDTH, HEIGHT, Name, Value, ...) with
%      'center'     [x y z] of the element's centre in metres, default [0 0 0]
%      'euler'      [e1 e2 e3] in radians, default [0 0 0]: the element is turned,
%                   right-handed, about its y axis by e1, then about its x axis by
%                   e2, then about its z axis by e3. So e1 > 0 tilts the face
%                   towards +x, e2 > 0 tilts it towards -y, and e3 spins it
%      'amplitude'  of the normal velocity of the face in m/s, default 1, which is a
%                   pressure of 1.5 MPa at the face in water: see kestrel.drive
%      'phase'      of that velocity in radians, default 0; time runs as
%                   exp(+jwt), so a positive phase is a lead
%
%   Errors: a size that is not greater than 0, an unknown option, a value that is
%   not real and finite or has the wrong number of entries.
%
%   Example:
%      element = kestrel.rectangle(0.5e-3, 10e-3, 'center', [2e-3 0 0]);
%
%   See also kestrel.linear_array, kestrel.planar_array, kestrel.circle, kestrel.aim,
%   kestrel.drive, kestrel.cw_field, kestrel.show_array.
  caller = 'kestrel.rectangle';
  kestrel.detail.check_count(caller, nargin, 2, '(width, height, name, value, ...)');
  geometry = {kestrel.detail.check_scalar(caller, 'width', width, 'positive'), ...
              kestrel.detail.check_scalar(caller, 'height', height, 'positive')};
  element = kestrel.detail.make_element(caller, 'rect', geometry, varargin);
end
