function handle = bar_label(bar)
%BAR_LABEL  The text object beside a colour bar.
  if isprop(bar, 'Label')
    handle = get(bar, 'Label');
  else
    handle = get(bar, 'ylabel');
  end
end
