function radii = check_radii(caller, inner, outer)
%CHECK_RADII  Inner and outer radius of a ring as {inner, outer}.
  inner = kestrel.detail.check_scalar(caller, 'inner_radius', inner, 'nonnegative');
  outer = kestrel.detail.check_scalar(caller, 'outer_radius', outer, 'positive');
  if outer <= inner
    error('kestrel:argument', '%s: outer_radius must be greater than inner_radius.', caller);
  end
  radii = {inner, outer};
end
