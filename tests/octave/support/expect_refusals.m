function expect_refusals(name, cases)
%EXPECT_REFUSALS  A function must refuse each list of arguments with exactly the text beside it.
%   CASES has a row per list: the arguments, and the error's text after the function's name.
  for i = 1:size(cases, 1)
    expect_error(@() feval(name, cases{i, 1}{:}), [name, ': ', cases{i, 2}]);
  end
end
