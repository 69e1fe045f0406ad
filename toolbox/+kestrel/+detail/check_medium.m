function medium = check_medium(caller, medium)
%CHECK_MEDIUM  Refuses what is no medium, or one in which no sound can be computed.
  if ~isstruct(medium) || ~isscalar(medium)
    error('kestrel:argument', ...
          '%s: the medium must be one structure, as kestrel.medium returns.', caller);
  end
  names = kestrel.detail.medium_fields();
  for i = 1:numel(names)
    if ~isfield(medium, names{i})
      error('kestrel:argument', '%s: the medium lacks the field ''%s''.', caller, names{i});
    end
    medium.(names{i}) = kestrel.detail.check_scalar(caller, names{i}, medium.(names{i}));
  end
  positive = {'soundspeed', 'density'};
  for i = 1:numel(positive)
    kestrel.detail.check_scalar(caller, positive{i}, medium.(positive{i}), 'positive');
  end
  kestrel.detail.check_scalar(caller, 'attenuationdBcmMHz', medium.attenuationdBcmMHz, ...
                              'nonnegative');
end
