function array = aim(array, point)
%AIM  Turns elements so that each of them faces a point.
%   ARRAY = kestrel.aim(ARRAY, POINT) returns ARRAY with the angles 'euler' of every
%   element set so that its axis goes from its centre through POINT = [x y z] (metres).
%   Centres stay, and so does the third angle, by which an element is spun about its own
%   axis. A shell faces a point when its centre of curvature lies in that direction.
%
%   Errors: an ARRAY that is no array of elements (the element and its field are named), a
%   POINT that is not three real numbers or is an element's centre.
%
%   Example: a disc beside the z axis that looks at a point on it
%      element = kestrel.circle(5e-3, 'center', [20e-3 0 0]);
%      element = kestrel.aim(element, [0 0 60e-3]);
%
%   See also kestrel.from_positions, kestrel.rectangle, kestrel.focus, kestrel.show_array.
  caller = 'kestrel.aim';
  kestrel.detail.check_count(caller, nargin, 2, '(array, point)');
  kestrel.detail.check_array(caller, array);
  point = kestrel.detail.check_vector(caller, 'point', point, 3);
  kestrel.detail.check_units(caller, 'm', 'a coordinate of the point', point);
  if isempty(array)
    return
  end
  [~, ~, ~, e1, e2, e3] = kestrel.detail.run_compiled(caller, 'arrays', 'aim', ...
                                                      struct('point', point), array);
  euler = num2cell([e1; e2; e3].', 2);
  [array.euler] = euler{:};
end
