function r = array_frame(caller, array, euler)
%ARRAY_FRAME  Rotation matrix of the frame in which an array's directions are meant.
%   EULER when it is not empty; else the angles that all elements share; else global.
  if ~isempty(euler)
    r = kestrel.detail.rotation_matrix(kestrel.detail.check_vector(caller, 'euler', euler, 3));
    return
  end
  r = eye(3);
  if isempty(array)
    return
  end
  angles = kestrel.detail.field_columns(array, 'euler');
  if all(all(angles == repmat(angles(:, 1), 1, numel(array))))
    r = kestrel.detail.rotation_matrix(angles(:, 1));
  end
end
