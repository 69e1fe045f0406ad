function amplitude = element_amplitudes(array)
%ELEMENT_AMPLITUDES  The amplitudes as a row; 1 where an array has no such field.
  amplitude = ones(1, numel(array));
  if isfield(array, 'amplitude') && ~isempty(array)
    amplitude = double([array.amplitude]);
  end
end
