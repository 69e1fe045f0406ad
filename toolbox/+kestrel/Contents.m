% KESTREL  Acoustic fields of ultrasound arrays in a homogeneous medium.
% Version 0.1.0 21-Nov-2026
%
% Inputs
%   set_coordinate_grid     - Observation points: a regular grid or a list of points.
%   set_time_samples        - Time axis of a transient calculation.
%   kestrel.time_window     - Time axis that holds the pulses of an array at all points.
%   set_excitation_function - Signal that drives the elements in a transient calculation.
%   kestrel.grid_axes       - The x, y and z values of a regular grid.
%   kestrel.medium          - Properties of a homogeneous medium.
%   kestrel.wavenumber      - Complex wavenumber of a plane wave in a medium.
%
% Elements and arrays
%   kestrel.rectangle       - Flat rectangular element.
%   kestrel.circle          - Flat circular element (piston).
%   kestrel.ring            - Flat ring-shaped element.
%   kestrel.shell           - Spherically curved, focusing element (cap of a sphere).
%   kestrel.shell_ring      - Ring cut from a spherically curved, focusing element.
%   kestrel.linear_array    - Row of equal rectangular elements along x.
%   kestrel.planar_array    - Lattice of equal rectangular elements in a plane.
%   kestrel.curved_array    - Row of rectangular elements on an arc of a cylinder.
%   kestrel.annular_array   - Concentric rings, flat or cut from a bowl.
%   kestrel.bowl_array      - Discs on a spherical bowl, all facing its centre.
%   kestrel.from_positions  - Equal elements at given places, facing given ways.
%   kestrel.aim             - Turns elements so that each of them faces a point.
%   kestrel.join            - Joins arrays of any shapes to one.
%   kestrel.focus           - Sets the phases of an array for a focus, or several.
%   kestrel.focus_delays    - Sets the delays of an array so that its pulses meet at a point.
%   kestrel.plane_wave_delays - Delays for a plane wave in a direction.
%   kestrel.steer           - Sets the phases of an array for a plane wave in a direction.
%   kestrel.apodize         - Weights the amplitudes of an array over its aperture.
%   kestrel.drive           - Sets the amplitudes by a pressure or a power.
%
% Fields
%   kestrel.cw_field        - Continuous-wave pressure field of an array of elements.
%   kestrel.harmonics       - Harmonics of a nonlinear beam of a circle or a shell.
%   kestrel.transient_field - Transient pressure field of an array of elements: pulses.
%   fnm_cw_single           - The compiled entry, for one element.
%   kestrel.intensity       - Intensity of a field, as of a plane wave.
%   kestrel.beam_metrics    - Peak, widths and side lobes of a field on a regular grid.
%   kestrel.selftest        - Checks the installation against known fields.
%   kestrel.version         - The version of this toolbox.
%
% Pictures
%   kestrel.show_field      - Picture of a field: a plane, lines, cuts or surfaces in a volume.
%   kestrel.show_array      - Picture of the elements of an array in space.
