function check_size(caller, n)
%CHECK_SIZE  Refuses an array of more elements than can be worked with.
  if n > 1e6
    error('kestrel:argument', '%s: an array has at most 1000000 elements, not %g.', caller, n);
  end
end
