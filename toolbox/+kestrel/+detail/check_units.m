function check_units(caller, varargin)
%CHECK_UNITS  Warns of a value that can hardly be meant: of millimetres, degrees, megahertz.
%   check_units(CALLER, UNIT, NAME, VALUE, ...) takes any number of values with their units,
%   'm', 'rad' or 'Hz', and warns of the first that is odd, so that one slip gives one warning.
  for i = 1:3:numel(varargin)
    [unit, name, value] = varargin{i:i + 2};
    switch unit
      case 'm'
        odd = abs(value) > 1;
        hint = 'Lengths are in metres';
      case 'rad'
        odd = abs(value) > 2 * pi * (1 + 1e-9);
        hint = 'Angles are in radians';
      case 'Hz'
        odd = value > 0 & value < 1e3;
        hint = 'Frequencies are in hertz';
    end
    if any(odd(:))
      kestrel.detail.warn('kestrel:units', ['%s: %s is %g %s: is that meant? %s. ' ...
                          'warning(''off'', ''kestrel:units'') switches this warning off.'], ...
                          caller, name, value(find(odd, 1)), unit, hint);
      return
    end
  end
end
