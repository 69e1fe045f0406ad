/// The plug-in `fnm_cw_single`: continuous-wave pressure of an array of elements on a grid, by the
/// fast nearfield method in single precision.
///
///     p = fnm_cw_single (transducers, grid, medium, ndiv, f0)

#include <climits>
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "kestrel/error.h"
#include "kestrel/grid.h"
#include "kestrel/medium.h"
#include "kestrel/quadrature.h"
#include "kestrel/services.h"
#include "mex/entries/compute_element.h"
#include "mex/entries/host_interruption.h"
#include "mex/host/complex_array.h"
#include "mex/host/entry.h"
#include "mex/readers/element_reader.h"
#include "mex/readers/structure_reader.h"
#include "numerics/interruption.h"

namespace kestrel::gateway {

namespace {

enum Argument { kTransducers, kGrid, kMedium, kNdiv, kFrequency, kDisplayFlag };

/// Not from mxGetM and mxGetN: asked for an argument's columns, Octave 7.3 loses 16 bytes per call.
int element_count(const mxArray* transducers) {
  const std::size_t count = mxGetNumberOfElements(transducers);
  if (count > static_cast<std::size_t>(INT_MAX)) {
    fail("Transducer array has more elements than a 32-bit count can hold.\n");
  }
  return static_cast<int>(count);
}

/// Toward zero: 4.7 abscissas are 4.
int read_ndiv(const mxArray* value) {
  if (!mxIsNumeric(value)) fail("ndiv must be an integer.\n");
  const double ndiv = std::trunc(read_scalar(value, nullptr, "ndiv"));
  if (!(ndiv >= -2147483648.0 && ndiv < 2147483648.0)) {
    fail("ndiv must be a number that fits a 32-bit integer.\n");
  }
  return static_cast<int>(ndiv);
}

double read_frequency(const mxArray* value) {
  if (mxIsComplex(value) || !mxIsNumeric(value)) fail("Frequency must a real number.\n");
  return read_scalar(value, nullptr, "frequency");
}

/// The flag of old programs does nothing, so nothing about it is an error: an empty value counts as
/// not given, and what is no number as a flag that is set.
void warn_of_display_flag(const mxArray* flag) {
  if (mxIsEmpty(flag)) return;
  const bool is_number = mxIsNumeric(flag) || mxIsLogical(flag) || mxIsChar(flag);
  if (is_number && mxGetScalar(flag) == 0.0) return;
  services::warn("The use of the display flag was deprecated.\n");
}

/// The elements of one call. `owned` keeps each alive exactly once; `list` is what the call works
/// through, position by position.
///
/// Each element enters the list twice: when it is created, and again as whatever stands at its own
/// index once it has been placed and wired. So position 2k holds element k, position 2k + 1 the
/// same as position k; from the second element on, centre and orientation of element i go to the
/// object at position i, and only positions 0 .. n-1 are computed. Programs rely on these results;
/// for the superposition of a whole array they call the entry once per element.
struct ElementList {
  std::vector<std::unique_ptr<Transducer>> owned;
  std::vector<Transducer*> list;
};

ElementList build_elements(const mxArray* transducers, int n, CoordinateGrid& grid,
                           NumericalIntegration& integral, Medium& medium, double* real_plane,
                           double* imaginary_plane) {
  ElementList elements;
  elements.list.reserve(2 * static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const double amplitude = read_optional_scalar(transducers, i, "amplitude", 1.0);
    const double phase = read_optional_scalar(transducers, i, "phase", 0.0);
    const ShapeText shape = read_shape_text(transducers, i);
    std::unique_ptr<Transducer> created = make_element(transducers, i, shape, amplitude, phase);
    if (created == nullptr) fail_invalid_shape(shape, i);
    elements.list.push_back(created.get());
    elements.owned.push_back(std::move(created));

    Transducer* wired = elements.list[static_cast<std::size_t>(i)];
    place_element(*wired, transducers, i);
    refuse_complex_weight(transducers, i);
    wired->set_complex_pressure_pointers(real_plane, imaginary_plane);
    wired->set_global_coordinate_grid(&grid);
    wired->set_integral_pointer(&integral);
    wired->set_medium(&medium);
    elements.list.push_back(wired);
  }
  return elements;
}

mxArray* compute(int nlhs, int nrhs, const mxArray** prhs) {
  if (nlhs != 1) fail("This function requires exactly one output parameter.\n");
  if (nrhs != 5 && nrhs != 6) {
    fail(
        "This function requires at least 5 and no more than 6 arguments. See the documentation for "
        "details.\n");
  }
  if (!mxIsStruct(prhs[kTransducers])) {
    fail("Transducer array must be a MATLAB structure.\n");
  }
  const int n = element_count(prhs[kTransducers]);

  if (!mxIsStruct(prhs[kGrid])) fail("Coordinate grid must be a MATLAB structure.\n");
  CoordinateGrid grid;
  grid.allocate_memory_and_set_values(&prhs[kGrid]);

  if (!mxIsStruct(prhs[kMedium])) fail("Medium must be a MATLAB structure.\n");
  Medium medium(&prhs[kMedium]);

  const int ndiv = read_ndiv(prhs[kNdiv]);
  medium._f0 = read_frequency(prhs[kFrequency]);

  const auto npoints = static_cast<std::size_t>(grid.npoints());
  mxArray* result = grid.regular()
                        ? host::create_complex_result(static_cast<std::size_t>(grid.nx()),
                                                      static_cast<std::size_t>(grid.ny()),
                                                      static_cast<std::size_t>(grid.nz()))
                        : host::create_complex_result(npoints);
  services::Array<double> real_plane(npoints), imaginary_plane(npoints);

  NumericalIntegration integral;
  if (!integral.allocate_memory(ndiv)) {
    fail("Ran out of memory while allocating integral object.\n");
  }
  HostInterruption interruption;
  const InterruptionScope listening([&] { return interruption(); });
  const auto end_if_interrupted = [&] {
    if (interruption.asked()) fail("The calculation was cancelled.");
  };
  integral.gauss_quadrature();
  end_if_interrupted();
  if (nrhs == 6) warn_of_display_flag(prhs[kDisplayFlag]);

  const ElementList elements = build_elements(prhs[kTransducers], n, grid, integral, medium,
                                              real_plane.data(), imaginary_plane.data());
  for (int j = 0; j < n; ++j) {
    compute_element(elements.list[static_cast<std::size_t>(j)]);
    end_if_interrupted();
  }

  mxComplexDouble* pressure = mxGetComplexDoubles(result);
  for (std::size_t k = 0; k < npoints; ++k) pressure[k] = {real_plane[k], imaginary_plane[k]};
  return result;
}

}  // namespace

}  // namespace kestrel::gateway

extern "C" void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  kestrel::host::run_entry([&] { plhs[0] = kestrel::gateway::compute(nlhs, nrhs, prhs); },
                           "kestrel:fnm_cw_single");
}
