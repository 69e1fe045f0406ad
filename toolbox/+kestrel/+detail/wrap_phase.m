function phase = wrap_phase(phase)
%WRAP_PHASE  Angles between -pi and pi.
  phase = phase - 2 * pi * round(phase / (2 * pi));
end
