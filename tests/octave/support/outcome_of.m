function [message, printed, result] = outcome_of(action, results)
%OUTCOME_OF  Calls ACTION and catches what it says.
%   MESSAGE is the text of the error, '' when there is none, without the name of the
%   compiled function and the final newline that the interpreter puts on or takes
%   off. PRINTED is everything that was printed, warnings included. ACTION is called
%   with RESULTS results (1 when left out); the first is RESULT.
  if nargin < 2
    results = 1;
  end
  message = '';
  result = [];
  values = cell(1, results);
  printed = evalc(['try;' ...
                   '  if results == 0; action(); else; [values{:}] = action(); end;' ...
                   'catch problem; message = problem.message; end;']);
  if ~isempty(message)
    message = regexprep(message, '^fnm_cw_single: ', '');
    message = regexprep(message, '\n$', '');
  elseif results > 0
    result = values{1};
  end
end
