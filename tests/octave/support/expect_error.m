function expect_error(action, text, printed_text, results)
%EXPECT_ERROR  ACTION must end with exactly this error text.
%   With PRINTED_TEXT, it must have printed exactly that before. With RESULTS, that
%   many results are asked for instead of one.
  if nargin < 4
    results = 1;
  end
  [message, printed] = outcome_of(action, results);
  expect(~isempty(message), 'no error; expected "%s"', text);
  expect(strcmp(message, text), 'error "%s"; expected "%s"', message, text);
  if nargin > 2
    expect(strcmp(printed, printed_text), 'printed "%s"; expected "%s"', printed, printed_text);
  end
end
