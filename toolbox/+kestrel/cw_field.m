function p = cw_field(array, grid, medium, ndiv, f0)
%CW_FIELD  Continuous-wave pressure field of an array of elements.
%   P = kestrel.cw_field(ARRAY, GRID, MEDIUM, NDIV, F0) is the complex pressure at
%   the points of GRID, the sum over all elements of ARRAY, each in its own place
%   with its own amplitude and phase.
%      ARRAY   elements, from kestrel.linear_array, kestrel.rectangle and others
%      GRID    observation points, from set_coordinate_grid
%      MEDIUM  from kestrel.medium
%      NDIV    number of quadrature nodes per integral. A rectangle whose longer
%              side is s wavelengths needs 2 s + 2 (at least 4) for an error of
%              1e-3 of the peak, and 2 s + 8 for 1e-6
%      F0      frequency in hertz
%      P       nx-by-ny-by-nz for a regular grid, m-by-1 for a list of m points, in
%              pascals when amplitudes are in m/s. Time runs as exp(+jwt).
%
%   Points behind an element's face receive nothing from it. An empty ARRAY gives
%   zeros. Elements other than rectangles are not implemented yet.
%
%   The field of each element is computed by fnm_cw_single, whose geometry is in
%   single precision: its rounding adds about 2e-5 of the peak.
%
%   Errors: an argument that is not what it should be (the element and the field
%   are named); a shape without a method; a missing fnm_cw_single.
%
%   Example:
%      medium = kestrel.medium('water');
%      array = kestrel.linear_array(64, 0.5e-3, 10e-3, 0.6e-3);
%      array = kestrel.focus(array, [0 0 40e-3], medium, 1e6);
%      grid = set_coordinate_grid(0.2e-3, -20e-3, 20e-3, 0, 0, 0.5e-3, 60e-3);
%      p = kestrel.cw_field(array, grid, medium, 22, 1e6);
%      kestrel.show_field(p, grid);
%
%   See also kestrel.show_field, kestrel.focus, kestrel.medium,
%   set_coordinate_grid, fnm_cw_single.
  caller = 'kestrel.cw_field';
  if nargin ~= 5
    error('kestrel:argument', ...
          '%s: expected (array, grid, medium, ndiv, f0), but there were %d arguments.', ...
          caller, nargin);
  end
  kestrel.detail.check_array(caller, array);
  kestrel.detail.check_grid(caller, grid);
  kestrel.detail.check_medium(caller, medium);
  ndiv = kestrel.detail.check_scalar(caller, 'ndiv', ndiv, 'count');
  f0 = kestrel.detail.check_scalar(caller, 'f0', f0, 'positive');
  for i = 1:numel(array)
    if ~strcmp(array(i).shape, 'rect')
      error('kestrel:argument', ...
            ['%s: element %d: the shape ''%s'' has no field method yet; ' ...
             'rectangles (''rect'') have.'], caller, i, array(i).shape);
    end
  end
  if exist('fnm_cw_single', 'file') ~= 3
    error('kestrel:notBuilt', ...
          ['%s: the compiled function fnm_cw_single is not on the path. ' ...
           'Build it with make and add the folder build/toolbox.'], caller);
  end

  if isempty(array)
    p = fnm_cw_single(array, grid, medium, ndiv, f0);
    return
  end
  p = fnm_cw_single(array(1), grid, medium, ndiv, f0);
  for i = 2:numel(array)
    p = p + fnm_cw_single(array(i), grid, medium, ndiv, f0);
  end
end
