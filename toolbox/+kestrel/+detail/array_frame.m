function r = array_frame(caller, array, euler)
%ARRAY_FRAME  Rotation matrix of the frame in which an array's directions are meant.
%   EULER when it is not empty; else the angles that all elements share; else global.
  if ~isempty(euler)
    r = kestrel.detail.rotation_matrix(kestrel.detail.check_vector(caller, 'euler', euler, 3));
    return
  end
  r = eye(3);
  shared = double(array(1).euler(:).');
  for i = 2:numel(array)
    if ~isequal(double(array(i).euler(:).'), shared)
      return
    end
  end
  r = kestrel.detail.rotation_matrix(shared);
end
