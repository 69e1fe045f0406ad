// A plug-in of somebody else's for GNU Octave: Octave's own header beside kestrel's.

// The host's header comes first, as in most plug-ins.
// clang-format off
#include <mex.h>

#include <kestrel/kestrel.h>
// clang-format on

// count_points (width): the number of points of a line of that width in steps of 1 mm; NaN where
// kestrel refuses the line.
void mexFunction(int, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  const double width = nrhs == 1 ? mxGetScalar(prhs[0]) : 0;
  double count = mxGetNaN();
  try {
    kestrel::CoordinateGrid grid;
    grid.RegularCoordinateGrid(0, width, 0, 0, 0.01, 0.01, 1e-3, 1e-3, 1e-3);
    count = grid.npoints();
  } catch (const kestrel::Error& error) {
    mexPrintf("refused: %s\n", error.what());
  }
  plhs[0] = mxCreateDoubleScalar(count);
}
