/// The compiled half of `kestrel.transient_field`: transient pressure of a whole array on a grid.
///
///     [p, info] = transient_field (array, grid, medium, time, ndiv, excitation, options)
///
/// The fields of `options` are those of read_run (entry_support.h).

#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "kestrel/error.h"
#include "kestrel/excitation.h"
#include "kestrel/field.h"
#include "kestrel/grid.h"
#include "kestrel/medium.h"
#include "kestrel/time_axis.h"
#include "mex/entries/entry_support.h"
#include "services/off_host_thread.h"

namespace kestrel::gateway {

namespace {

constexpr char kEntry[] = "kestrel.transient_field";

enum Argument { kArray, kGrid, kMedium, kTime, kNdiv, kExcitation, kOptions, kArguments };

/// The excitations of a structure made by set_excitation_function, owned.
class Excitations {
 public:
  /// A single row is read once, however many elements it drives.
  Excitations(const mxArray* structure, std::size_t elements) {
    const bool shared = mxIsStruct(structure) && mxGetNumberOfElements(structure) == 1;
    const std::size_t count = shared ? 1 : elements;
    std::vector<ExcitationFunction*> read;
    // Room for their owners before there are any: nothing may fail while nobody owns them.
    _owned.reserve(count);
    ExcitationFunction::excitation_vector(&read, structure, static_cast<int>(count));
    for (ExcitationFunction* excitation : read) _owned.emplace_back(excitation);
    _view.assign(read.begin(), read.end());
  }
  const std::vector<const ExcitationFunction*>& view() const { return _view; }

 private:
  std::vector<std::unique_ptr<ExcitationFunction>> _owned;
  std::vector<const ExcitationFunction*> _view;
};

/// A signal whose transform is real keeps its positive lines only, which no user expects.
void warn_of_dropped_lines(const Excitations& excitations) {
  for (const ExcitationFunction* excitation : excitations.view()) {
    if (!excitation->dropped_negative_lines()) continue;
    services::warn(
        "kestrel.transient_field: a sampled signal is even about its first sample, and the "
        "negative "
        "lines of its real spectrum are left out; put a zero before it.");
    return;
  }
}

/// The grid's shape with time as the last dimension.
mxArray* create_result(const CoordinateGrid& grid, int samples) {
  std::vector<mwSize> dimensions;
  for (const std::size_t extent : result_size(grid))
    dimensions.push_back(static_cast<mwSize>(extent));
  dimensions.push_back(static_cast<mwSize>(samples));
  const double values = static_cast<double>(grid.npoints()) * samples;
  if (values > static_cast<double>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(double)) {
    fail("Out of memory: the result has too many points.");
  }
  mxArray* result = nullptr;
  try {
    result = mxCreateNumericArray(dimensions.size(), dimensions.data(), mxDOUBLE_CLASS, mxREAL);
  } catch (const std::bad_alloc&) {  // Octave's way to say so
  }
  if (result == nullptr) {
    fail("Out of memory: the result of %d points and %d times cannot be created.", grid.npoints(),
         samples);
  }
  return result;
}

void compute(int nlhs, mxArray** plhs, int nrhs, const mxArray** prhs) {
  if (nrhs != kArguments || nlhs > 2) {
    fail(
        "expected [p, info] = transient_field(array, grid, medium, time, ndiv, excitation, "
        "options).");
  }
  const std::vector<fields::Element> elements = read_elements(prhs[kArray]);
  CoordinateGrid grid;
  grid.allocate_memory_and_set_values(&prhs[kGrid]);
  const Medium medium(&prhs[kMedium]);
  TimeSamples time;
  // An axis that is a list prints every time as it reads it, which nobody asked for here; what it
  // prints before an error belongs to that.
  services::Messages said;
  try {
    const services::OffHostThread quiet(said);
    time.allocate_memory_and_set_values(&prhs[kTime]);
  } catch (const Error&) {
    said.replay();
    throw;
  }
  const Excitations excitations(prhs[kExcitation], elements.size());

  warn_of_dropped_lines(excitations);

  ProgressReporter progress(kEntry);
  const fields::Settings settings =
      read_run(prhs[kOptions], prhs[kNdiv], true, "fnm_tsd", progress);

  mxArray* result = create_result(grid, time.nt());
  double* pressure = mxGetDoubles(result);
  const fields::Report report = fields::compute_transient_field(
      elements, grid, medium, time, excitations.view(), settings, pressure);
  const std::size_t values = mxGetNumberOfElements(result);
  warn_of_result(kEntry, report, values, grid,
                 [&](std::size_t i) { return std::isfinite(pressure[i]); });
  if (nlhs > 1) {
    plhs[1] = describe(report, settings, true, static_cast<double>(values) * sizeof(double));
  }
  plhs[0] = result;
}

}  // namespace

}  // namespace kestrel::gateway

extern "C" void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  using namespace kestrel;
  gateway::run_entry_as(gateway::kEntry, [&] { gateway::compute(nlhs, plhs, nrhs, prhs); });
}
