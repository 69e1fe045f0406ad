function f0 = check_frequency(caller, f0)
%CHECK_FREQUENCY  A frequency in hertz, greater than 0.
  f0 = kestrel.detail.check_scalar(caller, 'f0', f0, 'positive');
  kestrel.detail.check_units(caller, 'Hz', 'f0', f0);
end
