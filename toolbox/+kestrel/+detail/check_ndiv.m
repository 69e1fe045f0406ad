function ndiv = check_ndiv(caller, ndiv, hint)
%CHECK_NDIV  A number of quadrature nodes, at most 10000.
%   More are never needed, and the rule for them takes time that grows with their square.
%   HINT ends the refusal of more.
  ndiv = kestrel.detail.check_scalar(caller, 'ndiv', ndiv, 'count');
  if ndiv > 10000
    error('kestrel:argument', '%s: ndiv must be at most 10000, but it is %g%s', caller, ndiv, hint);
  end
end
