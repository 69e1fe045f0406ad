function medium = medium(name, varargin)
%MEDIUM  Properties of a homogeneous medium.
%   MEDIUM = kestrel.medium(NAME) with NAME one of
%      'water'     pure water at 20 degrees Celsius
%      'lossless'  as 'water' in all else, but 1500 m/s, 1000 kg/m^3 and no
%                  attenuation: round numbers for comparisons with theory
%      'muscle', 'liver', 'fat'   soft tissue
%
%   MEDIUM = kestrel.medium(NAME, Name, Value, ...) puts other values in. The nine
%   fields of MEDIUM, which are the option names too, are
%      soundspeed             m/s
%      density                kg/m^3
%      attenuationdBcmMHz     dB/(cm MHz)
%      bloodperfusion         kg/(m^3 s), mass of blood per volume of tissue
%      specificheat           J/(kg K)
%      specificheatofblood    J/(kg K)
%      thermalconductivity    W/(m K)
%      nonlinearityparameter  1 + B/(2A), no unit
%      powerlawexponent       of the attenuation's growth with frequency
%
%   The continuous-wave methods use the first three, the nonlinear ones (see
%   kestrel.harmonics) the nonlinearity parameter too. The attenuation is taken as
%   proportional to the frequency whatever the exponent says. Water's grows with
%   its square: the value here is right at 1 MHz, and at f MHz
%   'attenuationdBcmMHz', 0.0022 * f is.
%
%   The values are typical ones, rounded; those of a given sample differ by some
%   percent in speed and density and by up to a factor of two in attenuation.
%   Sources:
%      water: speed, Del Grosso and Mader, J. Acoust. Soc. Am. 52 (1972) 1442;
%      attenuation (25e-15 f^2 Np s^2/m), Pinkerton, Proc. Phys. Soc. B 62 (1949)
%      129; B/A = 5.0, Beyer, J. Acoust. Soc. Am. 32 (1960) 719.
%      tissue, acoustic values: T. L. Szabo, Diagnostic Ultrasound Imaging: Inside
%      Out, appendix of tissue properties (after F. A. Duck, Physical Properties
%      of Tissue, 1990). B/A is 7.43 in muscle, 6.75 in liver, 10.3 in fat.
%      thermal values: P. A. Hasgall et al., IT'IS Database for thermal and
%      electromagnetic parameters of biological tissues. Its perfusions of 37, 860
%      and 33 ml/(min kg) are converted with its densities (muscle 1090, liver
%      1079, fat 911, blood 1050 kg/m^3).
%
%   Errors: an unknown NAME or option (what there is, is listed), a value that is
%   not one real, finite number, a speed or density not greater than 0, a negative
%   attenuation.
%
%   Example: water with the attenuation of soft tissue
%      medium = kestrel.medium('water', 'attenuationdBcmMHz', 0.5);
%
%   See also kestrel.cw_field, kestrel.focus.
  caller = 'kestrel.medium';
  names = {'water', 'lossless', 'muscle', 'liver', 'fat'};
  % Columns as names; rows as kestrel.detail.medium_fields.
  values = [1482    1500    1580   1578   1430;    % soundspeed
            998     1000    1041   1050   928;     % density
            0.0022  0       0.57   0.45   0.6;     % attenuationdBcmMHz
            0       0       0.71   16     0.53;    % bloodperfusion
            4180    4180    3421   3540   2348;    % specificheat
            3617    3617    3617   3617   3617;    % specificheatofblood
            0.60    0.60    0.49   0.52   0.21;    % thermalconductivity
            3.5     3.5     4.7    4.4    6.2;     % nonlinearityparameter
            2       1       1      1.05   1];      % powerlawexponent
  if nargin < 1
    name = '';
  end
  if isstring(name) && isscalar(name)
    name = char(name);
  end
  name = kestrel.detail.check_choice(caller, 'the name', name, names);
  fields = kestrel.detail.medium_fields();
  column = values(:, strcmp(name, names));
  medium = kestrel.detail.parse_options(caller, cell2struct(num2cell(column), fields(:), 1), ...
                                        varargin);
  for i = 1:numel(fields)
    medium.(fields{i}) = kestrel.detail.check_scalar(caller, fields{i}, medium.(fields{i}));
  end
  medium = kestrel.detail.check_medium(caller, medium);
end
