function worst = expect_close(actual, expected, tolerance, text, varargin)
%EXPECT_CLOSE  Arrays of one size that differ by at most TOLERANCE of the largest value.
  what = sprintf(text, varargin{:});
  expect(isequal(size(actual), size(expected)), '%s: size %s instead of %s', what, ...
         mat2str(size(actual)), mat2str(size(expected)));
  expect(all(isfinite(actual(:))), '%s: values that are not finite', what);
  peak = max(abs(expected(:)));
  worst = max(abs(actual(:) - expected(:))) / peak;
  expect(peak > 0, '%s: nothing to compare with, the expected values are 0', what);
  expect(worst <= tolerance, '%s: differs by %.3g of the peak, allowed %.3g', what, worst, ...
         tolerance);
end
