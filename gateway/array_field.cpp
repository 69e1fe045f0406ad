/// The compiled half of `kestrel.cw_field`: continuous-wave pressure of a whole array on a grid.
///
///     [p, info] = array_field (array, grid, medium, ndiv, f0, options)
///
/// `options` is a structure with the fields method (text), threads (0: all), reuse, tolerance
/// (empty: use ndiv), memory (bytes), progress, instruction_set (text).

#include "fields/array_field.h"

#include <cmath>
#include <vector>

#include "gateway/field_entry.h"
#include "host/complex_array.h"
#include "host/entry.h"
#include "host/host.h"
#include "inputs/coordinate_grid.h"
#include "inputs/medium.h"
#include "inputs/structure_reader.h"

namespace kestrel::gateway {

namespace {

constexpr char kEntry[] = "kestrel.cw_field";

enum Argument { kArray, kGrid, kMedium, kNdiv, kFrequency, kOptions, kArguments };

fields::Settings read_settings(const mxArray* options, const mxArray* ndiv) {
  fields::Settings settings;
  settings.method = read_method(options, fields::continuous_wave_methods());
  const std::string set = text_option(options, "instruction_set");
  if (set != "auto") {
    for (const auto known : {InstructionSet::scalar, InstructionSet::baseline, InstructionSet::avx2,
                             InstructionSet::avx512}) {
      if (set == kestrel::name(known)) settings.instruction_set = known;
    }
    if (!settings.instruction_set) {
      host::fail(
          "unknown instruction set '%s'; there are 'auto', 'scalar', 'baseline', 'avx2', "
          "'avx512'.",
          set.c_str());
    }
  }
  settings.threads = static_cast<int>(number_option(options, "threads"));
  settings.reuse = number_option(options, "reuse") != 0;
  settings.memory = number_option(options, "memory");
  const mxArray* tolerance = field_value(options, "tolerance");
  if (tolerance != nullptr && !mxIsEmpty(tolerance)) {
    settings.tolerance = read_scalar(tolerance, "options", "tolerance");
  } else {
    if (mxIsEmpty(ndiv)) host::fail("ndiv may be empty only when the option 'tolerance' is given.");
    settings.nodes = read_nodes(ndiv);
  }
  return settings;
}

mxArray* describe(const fields::Report& report, const fields::Settings& settings) {
  const char* fields[] = {"method",          "time",    "nodes",           "way",
                          "reused_elements", "threads", "instruction_set", "memory",
                          "error_estimate"};
  mxArray* info = mxCreateStructMatrix(1, 1, static_cast<int>(std::size(fields)), fields);
  const auto set = [&](const char* field, mxArray* value) { mxSetField(info, 0, field, value); };
  const auto number = [](double value) { return mxCreateDoubleScalar(value); };
  const char* way = report.reused_elements == 0   ? "direct"
                    : report.direct_elements == 0 ? "reuse"
                                                  : "reuse and direct";
  mxArray* nodes = mxCreateDoubleMatrix(1, 2, mxREAL);
  mxGetDoubles(nodes)[0] = report.least_nodes;
  mxGetDoubles(nodes)[1] = report.greatest_nodes;
  set("method", mxCreateString(settings.method->name));
  set("time", number(report.seconds));
  set("nodes", nodes);
  set("way", mxCreateString(way));
  set("reused_elements", number(static_cast<double>(report.reused_elements)));
  set("threads", number(report.threads));
  set("instruction_set", mxCreateString(name(report.instruction_set)));
  set("memory", number(report.memory));
  set("error_estimate", number(report.error_estimate));
  return info;
}

void compute(int nlhs, mxArray** plhs, int nrhs, const mxArray** prhs) {
  if (nrhs != kArguments || nlhs > 2) {
    host::fail("expected [p, info] = array_field(array, grid, medium, ndiv, f0, options).");
  }
  const std::vector<fields::Element> elements = read_elements(prhs[kArray]);
  CoordinateGrid grid;
  grid.allocate_memory_and_set_values(&prhs[kGrid]);
  Medium medium(&prhs[kMedium]);
  medium._f0 = read_scalar(prhs[kFrequency], "argument", "f0");
  fields::Settings settings = read_settings(prhs[kOptions], prhs[kNdiv]);
  Console console(kEntry, number_option(prhs[kOptions], "progress") != 0);
  settings.progress = [&](double fraction) { return console(fraction); };
  settings.estimate_error = nlhs > 1;

  mxArray* result = grid.regular()
                        ? host::create_complex_result(static_cast<std::size_t>(grid.nx()),
                                                      static_cast<std::size_t>(grid.ny()),
                                                      static_cast<std::size_t>(grid.nz()))
                        : host::create_complex_result(static_cast<std::size_t>(grid.npoints()));
  auto* pressure = reinterpret_cast<std::complex<double>*>(mxGetComplexDoubles(result));
  const fields::Report report = fields::compute_field(elements, grid, medium, settings, pressure);
  warn_of_values_that_are_not_finite(
      kEntry, static_cast<std::size_t>(grid.npoints()), grid, [&](std::size_t i) {
        return std::isfinite(pressure[i].real()) && std::isfinite(pressure[i].imag());
      });
  plhs[0] = result;
  if (nlhs > 1) plhs[1] = describe(report, settings);
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

#if !defined(KESTREL_HOST_DEFINES_API_VERSION)
/// See fnm_cw_single.cpp.
extern "C" void mexfilerequiredapiversion(unsigned int* built_by, unsigned int* required) {
  *built_by = 0x2023B;
  *required = 0x08000000;
}
#endif
