/// The compiled half of `kestrel.cw_field` and `kestrel.harmonics`: continuous-wave pressure of a
/// whole array on a grid.
///
///     [p, info] = array_field (array, grid, medium, ndiv, f0, options)
///
/// The fields of `options` are those of read_run (entry_support.h). With a field `wanted`, the
/// numbers of harmonics, the result is theirs by the method 'kzk_cw', along one more dimension at
/// the end.

#include <climits>
#include <cmath>
#include <vector>

#include "kestrel/error.h"
#include "kestrel/field.h"
#include "kestrel/grid.h"
#include "kestrel/medium.h"
#include "mex/entries/entry_support.h"
#include "mex/host/complex_array.h"
#include "mex/readers/structure_reader.h"

namespace kestrel::gateway {

namespace {

enum Argument { kArray, kGrid, kMedium, kNdiv, kFrequency, kOptions, kArguments };

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
  const std::vector<int> wanted = read_wanted(prhs[kOptions]);
  ProgressReporter progress(entry);
  fields::Settings settings =
      read_run(prhs[kOptions], prhs[kNdiv], false, wanted.empty() ? "fnm_cw" : "kzk_cw", progress);
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
  const std::size_t values = mxGetNumberOfElements(result);
  warn_of_result(entry, report, values, grid, [&](std::size_t i) {
    return std::isfinite(pressure[i].real()) && std::isfinite(pressure[i].imag());
  });
  if (nlhs > 1) {
    plhs[1] = describe(report, settings, false,
                       static_cast<double>(values) * sizeof(std::complex<double>));
  }
  plhs[0] = result;
}

}  // namespace

}  // namespace kestrel::gateway

extern "C" void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  using namespace kestrel;
  // Either of two functions may have been called; only one of them wants harmonics.
  const bool harmonics = nrhs > gateway::kOptions && has_field(prhs[gateway::kOptions], "wanted");
  const char* entry = harmonics ? "kestrel.harmonics" : "kestrel.cw_field";
  gateway::run_entry_as(entry, [&] { gateway::compute(entry, nlhs, plhs, nrhs, prhs); });
}
