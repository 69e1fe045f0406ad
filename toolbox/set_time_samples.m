function samples = set_time_samples(deltat, tmin, tmax)
%SET_TIME_SAMPLES  Time axis of a transient calculation.
%   SAMPLES = set_time_samples(DELTAT, TMIN, TMAX) describes the times TMIN,
%   TMIN + DELTAT, TMIN + 2 DELTAT, ... up to TMAX, in seconds, the end included
%   when the range is a whole number of steps. With TMIN equal to TMAX, or with
%   DELTAT 0, the axis has the one value TMIN.
%
%   SAMPLES = set_time_samples(TIMES) takes the vector TIMES, in seconds, as it
%   stands: it need be neither sorted nor evenly spaced.
%
%   SAMPLES is a structure with the fields deltat, tmin and tmax, or with the one
%   field time_samples.
%
%   Errors: a wrong number of arguments, values that are not real and finite, a
%   negative DELTAT, TMAX below TMIN, TIMES that is not a vector.
%
%   Example: 101 samples from 0 to 1 microsecond
%      samples = set_time_samples(10e-9, 0, 1e-6);
%
%   See also kestrel.time_window, set_coordinate_grid.
  caller = 'set_time_samples';
  if nargin == 1
    times = deltat;
    kestrel.detail.check_numbers(caller, 'times', times);
    if ~isvector(times)
      error('kestrel:argument', '%s: times must be a vector of seconds.', caller);
    end
    samples = struct('time_samples', double(full(times)));
  elseif nargin == 3
    samples.deltat = kestrel.detail.check_scalar(caller, 'deltat', deltat, 'nonnegative');
    samples.tmin = kestrel.detail.check_scalar(caller, 'tmin', tmin);
    samples.tmax = kestrel.detail.check_scalar(caller, 'tmax', tmax);
    if samples.tmax < samples.tmin
      error('kestrel:argument', '%s: tmax must not be less than tmin.', caller);
    end
  else
    error('kestrel:argument', ...
          '%s: expected (deltat, tmin, tmax) or (times), but there were %d arguments.', ...
          caller, nargin);
  end
end
