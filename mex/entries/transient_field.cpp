/// The compiled half of `kestrel.transient_field`: transient pressure of a whole array on a grid.
///
///     [p, info] = transient_field (array, grid, medium, time, ndiv, excitation, options)
///
/// `options` is a structure with the fields method (text), threads (0: all), progress, kzk
/// (structure, or empty).

#include <cmath>
#include <iterator>
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
#include "mex/host/entry.h"
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

mxArray* describe(const fields::TransientReport& report, const fields::TransientSettings& settings,
                  double result_memory) {
  const char* fields[] = {"method", "time",          "nodes",  "threads",      "instruction_set",
                          "memory", "result_memory", "planes", "radial_nodes", "samples"};
  // The last three are of a march.
  Info info({fields, std::size(fields) - (settings.method->marched ? 0 : 3)});
  info.set("method", settings.method->name);
  info.set("time", report.seconds);
  info.set("nodes", settings.nodes);
  info.set("threads", report.threads);
  info.set("instruction_set", name(report.instruction_set));
  info.set("memory", report.memory);
  info.set("result_memory", result_memory);
  if (settings.method->marched) {
    info.set("planes", static_cast<double>(report.march.planes));
    info.set("radial_nodes", static_cast<double>(report.march.nodes));
    info.set("samples", static_cast<double>(report.march.unknowns));
  }
  return info.array();
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

  fields::TransientSettings settings;
  settings.method = fields::find_transient_method(text_option(prhs[kOptions], "method"));
  if (!settings.method->marched) settings.nodes = read_nodes(prhs[kNdiv]);
  Console console(kEntry, number_option(prhs[kOptions], "progress") != 0);
  read_run(settings, prhs[kOptions], true, console);

  mxArray* result = create_result(grid, time.nt());
  double* pressure = mxGetDoubles(result);
  const fields::TransientReport report = fields::compute_transient_field(
      elements, grid, medium, time, excitations.view(), settings, pressure);
  for (const std::string& warning : report.warnings) services::warn(warning.c_str());
  warn_of_values_that_are_not_finite(
      kEntry, static_cast<std::size_t>(grid.npoints()) * static_cast<std::size_t>(time.nt()), grid,
      [&](std::size_t i) { return std::isfinite(pressure[i]); });
  if (nlhs > 1) plhs[1] = describe(report, settings, bytes_of(result));
  plhs[0] = result;
}

}  // namespace

}  // namespace kestrel::gateway

extern "C" void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  using namespace kestrel;
  host::run_entry(
      [&] {
        gateway::run_named(gateway::kEntry, [&] { gateway::compute(nlhs, plhs, nrhs, prhs); });
      },
      "kestrel:field");
}
