function list = shapes()
%SHAPES  The element shapes: a structure row with 'name' and 'sizes', the names of its fields.
  persistent known
  if isempty(known)
    known = kestrel.detail.run_compiled('kestrel', 'arrays', 'shapes', struct());
  end
  list = known;
end
