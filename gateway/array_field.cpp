/// The compiled half of `kestrel.cw_field`: continuous-wave pressure of a whole array on a grid.
///
///     [p, info] = array_field (array, grid, medium, ndiv, f0, options)
///
/// `options` is a structure with the fields method (text), threads (0: all), reuse, tolerance (empty:
/// use ndiv), memory (bytes), progress, instruction_set (text).

#include <chrono>
#include <climits>
#include <cmath>
#include <string>
#include <vector>

#include "fields/array_field.h"
#include "gateway/element_reader.h"
#include "host/complex_array.h"
#include "host/entry.h"
#include "host/host.h"
#include "inputs/coordinate_grid.h"
#include "inputs/medium.h"
#include "inputs/structure_reader.h"

namespace kestrel::gateway {

namespace {

enum Argument { kArray, kGrid, kMedium, kNdiv, kFrequency, kOptions, kArguments };

std::vector<fields::Element> read_elements(const mxArray* array) {
  if (mxIsEmpty(array) && !mxIsStruct(array)) return {};
  if (!mxIsStruct(array)) {
    host::fail("the array must be a structure array of elements, as kestrel.rectangle returns.");
  }
  const std::size_t count = mxGetNumberOfElements(array);
  if (count > static_cast<std::size_t>(INT_MAX)) host::fail("the array has %zu elements.", count);
  std::vector<fields::Element> elements;
  elements.reserve(count);
  for (const char* field : {"shape", "center", "euler"}) {
    if (count > 0 && !has_field(array, field)) host::fail("the array lacks the field '%s'.", field);
  }
  for (int i = 0; i < static_cast<int>(count); ++i) {
    refuse_complex_weight(array, i);
    elements.push_back(read_element(array, i));
  }
  return elements;
}

/// Says now and then how far long work is, and asks whether the user wants it to end.
class Console {
 public:
  explicit Console(bool prints) : _prints(prints) {}

  bool operator()(double fraction) {
    if (host::interrupted()) return false;
    const double now = seconds();
    if (_prints && now >= _next) {
      if (fraction > 0) {
        host::print("kestrel.cw_field: %3.0f %%, %.0f s left\n", 100 * fraction,
                    std::ceil(now * (1 - fraction) / fraction));
      } else {
        host::print("kestrel.cw_field:   0 %%, %.0f s so far\n", now);
      }
      _next = now + kPeriod;
    }
    return true;
  }

 private:
  static constexpr double kPeriod = 4;

  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
  }

  std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();
  double _next = kPeriod;
  bool _prints;
};

std::string text_option(const mxArray* options, const char* field) {
  char text[64] = "";
  const mxArray* value = field_value(options, field);
  if (value == nullptr || !mxIsChar(value) || mxGetString(value, text, sizeof text) != 0) {
    host::fail("the option '%s' must be text.", field);
  }
  return text;
}

double number_option(const mxArray* options, const char* field) {
  return read_scalar(field_value(options, field), "options", field);
}

fields::Settings read_settings(const mxArray* options, const mxArray* ndiv) {
  fields::Settings settings;
  const std::string name = text_option(options, "method");
  settings.method = fields::find_continuous_wave_method(name);
  if (settings.method == nullptr) {
    host::fail("unknown method '%s'; the methods are %s.", name.c_str(),
               fields::list_names(fields::continuous_wave_methods()).c_str());
  }
  const std::string set = text_option(options, "instruction_set");
  if (set != "auto") {
    for (const auto known : {InstructionSet::scalar, InstructionSet::baseline, InstructionSet::avx2,
                             InstructionSet::avx512}) {
      if (set == kestrel::name(known)) settings.instruction_set = known;
    }
    if (!settings.instruction_set) {
      host::fail("unknown instruction set '%s'; there are 'auto', 'scalar', 'baseline', 'avx2', "
                 "'avx512'.", set.c_str());
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
    const double nodes = read_scalar(ndiv, "argument", "ndiv");
    if (!(nodes >= 1 && nodes <= INT_MAX && nodes == std::floor(nodes))) {
      host::fail("ndiv must be a whole number of at least 1, but it is %g.", nodes);
    }
    settings.nodes = static_cast<int>(nodes);
  }
  return settings;
}

mxArray* describe(const fields::Report& report, const fields::Settings& settings) {
  const char* fields[] = {"method",  "time",    "nodes",           "way",    "reused_elements",
                          "threads", "instruction_set", "memory", "error_estimate"};
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

void warn_of_values_that_are_not_finite(const std::complex<double>* pressure,
                                        const CoordinateGrid& grid) {
  int count = 0, first = 0;
  for (int i = grid.npoints() - 1; i >= 0; --i) {
    if (std::isfinite(pressure[i].real()) && std::isfinite(pressure[i].imag())) continue;
    ++count;
    first = i;
  }
  if (count == 0) return;
  const CartesianCoordinate p = grid.spatial_index_value(first);
  char text[256];
  std::snprintf(text, sizeof text,
                "kestrel.cw_field: %d of %d pressures are NaN or Inf, the first at point %d, "
                "(%g, %g, %g) m.", count, grid.npoints(), first + 1, p.x, p.y, p.z);
  host::warn(text);
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
  Console console(number_option(prhs[kOptions], "progress") != 0);
  settings.progress = [&](double fraction) { return console(fraction); };
  settings.estimate_error = nlhs > 1;

  mxArray* result =
      grid.regular() ? host::create_complex_result(static_cast<std::size_t>(grid.nx()),
                                                   static_cast<std::size_t>(grid.ny()),
                                                   static_cast<std::size_t>(grid.nz()))
                     : host::create_complex_result(static_cast<std::size_t>(grid.npoints()));
  auto* pressure = reinterpret_cast<std::complex<double>*>(mxGetComplexDoubles(result));
  const fields::Report report = fields::compute_field(elements, grid, medium, settings, pressure);
  warn_of_values_that_are_not_finite(pressure, grid);
  plhs[0] = result;
  if (nlhs > 1) plhs[1] = describe(report, settings);
}

/// Errors begin with the name by which users know the entry.
void compute_named(int nlhs, mxArray** plhs, int nrhs, const mxArray** prhs) {
  std::string text;
  try {
    return compute(nlhs, plhs, nrhs, prhs);
  } catch (const Error& error) {
    text = error.what();
  }
  throw Error("kestrel.cw_field: " + text);
}

}  // namespace

}  // namespace kestrel::gateway

extern "C" void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  kestrel::host::run_entry([&] { kestrel::gateway::compute_named(nlhs, plhs, nrhs, prhs); },
                           "kestrel:field");
}

#if !defined(KESTREL_HOST_DEFINES_API_VERSION)
/// See fnm_cw_single.cpp.
extern "C" void mexfilerequiredapiversion(unsigned int* built_by, unsigned int* required) {
  *built_by = 0x2023B;
  *required = 0x08000000;
}
#endif
