/// The compiled half of `kestrel.cw_field` and `kestrel.harmonics`: continuous-wave pressure of a
/// whole array on a grid.
///
///     [p, info] = array_field (array, grid, medium, ndiv, f0, options)
///
/// `options` is a structure with the fields method (text), threads (0: all), reuse, tolerance
/// (empty: use ndiv), memory (bytes), progress, instruction_set (text), kzk (structure, or empty).
/// With a field `wanted`, the numbers of harmonics, the result is theirs by the method 'kzk_cw',
/// along one more dimension at the end.

#include <climits>
#include <cmath>
#include <vector>

#include "kestrel/error.h"
#include "kestrel/field.h"
#include "kestrel/grid.h"
#include "kestrel/medium.h"
#include "mex/entries/entry_support.h"
#include "mex/host/complex_array.h"
#include "mex/host/entry.h"
#include "mex/readers/structure_reader.h"

namespace kestrel::gateway {

namespace {

enum Argument { kArray, kGrid, kMedium, kNdiv, kFrequency, kOptions, kArguments };

fields::Settings read_settings(const mxArray* options, const mxArray* ndiv) {
  fields::Settings settings;
  settings.method = fields::find_continuous_wave_method(text_option(options, "method"));
  const std::string set = text_option(options, "instruction_set");
  if (set != "auto") {
    for (const InstructionSet known : kInstructionSets) {
      if (set == kestrel::name(known)) settings.instruction_set = known;
    }
    if (!settings.instruction_set) {
      fail(
          "unknown instruction set '%s'; there are 'auto', 'scalar', 'baseline', 'avx2', "
          "'avx512', 'neon'.",
          set.c_str());
    }
  }
  settings.reuse = number_option(options, "reuse") != 0;
  settings.memory = number_option(options, "memory");
  const mxArray* tolerance = field_value(options, "tolerance");
  if (tolerance != nullptr && !mxIsEmpty(tolerance)) {
    settings.tolerance = read_scalar(tolerance, "options", "tolerance");
  } else if (!settings.method->marched) {
    if (mxIsEmpty(ndiv)) fail("ndiv may be empty only when the option 'tolerance' is given.");
    settings.nodes = read_nodes(ndiv);
  }
  return settings;
}

mxArray* describe(const fields::Report& report, const fields::Settings& settings,
                  double result_memory) {
  const char* fields[] = {"method",          "time",           "nodes",           "way",
                          "reused_elements", "threads",        "instruction_set", "memory",
                          "result_memory",   "error_estimate", "planes",          "radial_nodes",
                          "harmonics"};
  // The last three are of a march.
  Info info({fields, std::size(fields) - (settings.method->marched ? 0 : 3)});
  const char* way = settings.method->marched      ? "march"
                    : report.reused_elements == 0 ? "direct"
                    : report.direct_elements == 0 ? "reuse"
                                                  : "reuse and direct";
  info.set("method", settings.method->name);
  info.set("time", report.seconds);
  info.set("nodes", {double(report.least_nodes), double(report.greatest_nodes)});
  info.set("way", way);
  info.set("reused_elements", static_cast<double>(report.reused_elements));
  info.set("threads", report.threads);
  info.set("instruction_set", name(report.instruction_set));
  info.set("memory", report.memory);
  info.set("result_memory", result_memory);
  info.set("error_estimate", report.error_estimate);
  if (settings.method->marched) {
    info.set("planes", static_cast<double>(report.march.planes));
    info.set("radial_nodes", static_cast<double>(report.march.nodes));
    info.set("harmonics", static_cast<double>(report.march.unknowns));
  }
  return info.array();
}

/// The harmonics that kestrel.harmonics wants; none from kestrel.cw_field.
std::vector<int> read_wanted(const mxArray* options) {
  const mxArray* wanted = field_value(options, "wanted");
  if (wanted == nullptr) return {};
  const double* numbers = read_real_doubles(wanted, "options", "wanted");
  std::vector<int> harmonics;
  for (std::size_t i = 0; numbers != nullptr && i < mxGetNumberOfElements(wanted); ++i) {
    if (!(numbers[i] >= 1 && numbers[i] <= INT_MAX && numbers[i] == std::floor(numbers[i]))) {
      fail("a harmonic must be a whole number of at least 1, but one is %g.", numbers[i]);
    }
    harmonics.push_back(static_cast<int>(numbers[i]));
  }
  if (harmonics.empty()) fail("the list of harmonics is empty.");
  return harmonics;
}

void compute(const char* entry, int nlhs, mxArray** plhs, int nrhs, const mxArray** prhs) {
  if (nrhs != kArguments || nlhs > 2) {
    fail("expected [p, info] = array_field(array, grid, medium, ndiv, f0, options).");
  }
  const std::vector<fields::Element> elements = read_elements(prhs[kArray]);
  CoordinateGrid grid;
  grid.allocate_memory_and_set_values(&prhs[kGrid]);
  Medium medium(&prhs[kMedium]);
  medium._f0 = read_scalar(prhs[kFrequency], nullptr, "f0");
  fields::Settings settings = read_settings(prhs[kOptions], prhs[kNdiv]);
  Console console(entry, number_option(prhs[kOptions], "progress") != 0);
  read_run(settings, prhs[kOptions], false, console);
  const std::vector<int> wanted = read_wanted(prhs[kOptions]);
  if (!wanted.empty() && settings.kzk.harmonic != 0) {
    fail("the option 'kzk' names a harmonic, but the list of harmonics says which ones.");
  }
  settings.estimate_error = nlhs > 1;

  std::vector<std::size_t> size = result_size(grid);
  if (!wanted.empty()) size.push_back(wanted.size());
  mxArray* result = host::create_complex_result(size);
  auto* pressure = reinterpret_cast<std::complex<double>*>(mxGetComplexDoubles(result));
  const fields::Report report =
      wanted.empty()
          ? fields::compute_field(elements, grid, medium, settings, pressure)
          : fields::compute_harmonics(elements, grid, medium, wanted, settings, pressure);
  for (const std::string& warning : report.warnings) services::warn(warning.c_str());
  warn_of_values_that_are_not_finite(
      entry, mxGetNumberOfElements(result), grid, [&](std::size_t i) {
        return std::isfinite(pressure[i].real()) && std::isfinite(pressure[i].imag());
      });
  if (nlhs > 1) plhs[1] = describe(report, settings, bytes_of(result));
  plhs[0] = result;
}

}  // namespace

}  // namespace kestrel::gateway

extern "C" void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  using namespace kestrel;
  host::run_entry(
      [&] {
        // Either of two functions may have been called; only one of them wants harmonics.
        const bool harmonics =
            nrhs > gateway::kOptions && has_field(prhs[gateway::kOptions], "wanted");
        const char* entry = harmonics ? "kestrel.harmonics" : "kestrel.cw_field";
        gateway::run_named(entry, [&] { gateway::compute(entry, nlhs, plhs, nrhs, prhs); });
      },
      "kestrel:field");
}
