function options = check_run(caller, options)
%CHECK_RUN  The options that every calculation of a field takes: threads and progress.
  if ~isequal(options.threads, 0)
    options.threads = kestrel.detail.check_scalar(caller, 'threads', options.threads, 'count');
  end
  options.progress = kestrel.detail.check_switch(caller, 'progress', options.progress);
end
