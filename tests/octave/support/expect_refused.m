function expect_refused(name, cases)
%EXPECT_REFUSED  A function must refuse each list of arguments in words that hold a given text.
%   CASES has a row per list: the arguments, the text, and possibly what must be printed before.
%   The error begins with the function's name.
  for i = 1:size(cases, 1)
    [message, printed] = outcome_of(@() feval(name, cases{i, 1}{:}));
    expect(strncmp(message, [name, ': '], numel(name) + 2) ...
           && ~isempty(strfind(message, cases{i, 2})), '%s, case %d: expected "%s", but got "%s"', ...
           name, i, cases{i, 2}, message);
    if size(cases, 2) > 2
      expect(isempty(cases{i, 3}) || ~isempty(strfind(printed, cases{i, 3})), ...
             '%s, case %d: expected the output "%s", but got "%s"', name, i, cases{i, 3}, printed);
    end
  end
end
