function expect_error_match(action, pattern)
%EXPECT_ERROR_MATCH  ACTION must end with an error whose text matches the pattern.
  message = outcome_of(action);
  expect(~isempty(message), 'no error; expected one like "%s"', pattern);
  expect(~isempty(regexp(message, pattern, 'once')), ...
         'error "%s"; expected one like "%s"', message, pattern);
end
