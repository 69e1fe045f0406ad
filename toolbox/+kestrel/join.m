function array = join(varargin)
%JOIN  Joins arrays of any shapes to one.
%   ARRAY = kestrel.join(ARRAY1, ARRAY2, ...) is the 1-by-n structure array of all
%   elements of ARRAY1, then those of ARRAY2, and so on. Elements from this toolbox
%   join with [ARRAY1, ARRAY2] too; this function also joins structures that lack
%   each other's fields: amplitude is then 1, phase, time_delay and apodization_index
%   are 0, and any other missing field is empty.
%
%   Errors: an argument that is no array of elements (the argument, the element and
%   the field are named), no argument at all.
%
%   Example: an imaging row in the opening of a bowl
%      bowl = kestrel.bowl_array(128, 3e-3, 60e-3, 100e-3, 'inner_radius', 22e-3);
%      row = kestrel.linear_array(64, 0.25e-3, 8e-3, 0.3e-3);
%      array = kestrel.join(bowl, row);
%
%   See also kestrel.rectangle, kestrel.focus, kestrel.cw_field, kestrel.show_array.
  caller = 'kestrel.join';
  if nargin == 0
    error('kestrel:argument', '%s: expected at least one array.', caller);
  end
  names = {};
  for i = 1:nargin
    kestrel.detail.check_array(sprintf('%s: array %d', caller, i), varargin{i});
    given = fieldnames(varargin{i});
    names = [names; given(~ismember(given, names))];
  end
  defaults = struct('amplitude', 1, 'phase', 0, 'time_delay', 0, ...
                    'apodization_index', 0);
  order = cell2struct(cell(numel(names), 1), names, 1);
  parts = cell(1, nargin);
  for i = 1:nargin
    part = reshape(varargin{i}, 1, []);
    missing = names(~isfield(part, names));
    for j = 1:numel(missing)
      value = [];
      if isfield(defaults, missing{j})
        value = defaults.(missing{j});
      end
      if isempty(part)
        part(1).(missing{j}) = value;   % a field needs an element for a moment
        part(1) = [];
      else
        [part.(missing{j})] = deal(value);
      end
    end
    parts{i} = orderfields(part, order);
  end
  array = [parts{:}];
end
