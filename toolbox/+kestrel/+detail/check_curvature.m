function curvature = check_curvature(caller, name, curvature, aperture)
%CHECK_CURVATURE  Radius of a sphere from which a cap of radius APERTURE can be cut.
  curvature = kestrel.detail.check_scalar(caller, name, curvature, 'positive');
  if curvature < aperture
    error('kestrel:argument', ...
          ['%s: %s must not be less than the aperture''s radius ' ...
           '(a cap is at most a hemisphere).'], caller, name);
  end
end
