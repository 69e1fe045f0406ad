#include "kestrel/excitation.h"

#include <algorithm>
#include <memory>
#include <span>

#include "kestrel/error.h"
#include "mex/readers/input_readers.h"
#include "mex/readers/structure_reader.h"

namespace kestrel {

namespace {

constexpr const char* owner = "excitation function";

using HostValue = std::unique_ptr<mxArray, decltype(&mxDestroyArray)>;

/// The discrete Fourier transform as the host computes it, with the same rounding as the user's
/// own.
ExcitationFunction::Transform transform_by_host(std::span<const double> samples) {
  const HostValue column(mxCreateDoubleMatrix(samples.size(), 1, mxREAL), mxDestroyArray);
  if (!column) fail("Out of memory for the transform of the excitation function.\n");
  std::copy(samples.begin(), samples.end(), mxGetDoubles(column.get()));

  mxArray* result = nullptr;
  mxArray* argument = column.get();
  const int status = mexCallMATLAB(1, &result, 1, &argument, "fft");
  const HostValue lines(result, mxDestroyArray);
  if (status != 0 || !lines || !mxIsDouble(lines.get()) ||
      mxGetNumberOfElements(lines.get()) != samples.size()) {
    fail("The transform of the excitation function by 'fft' failed.\n");
  }

  ExcitationFunction::Transform transform;
  transform.lines = services::Array<std::complex<double>>(samples.size());
  transform.real = !mxIsComplex(lines.get());
  if (transform.real) {
    std::copy_n(mxGetDoubles(lines.get()), samples.size(), transform.lines.begin());
  } else {
    const mxComplexDouble* values = mxGetComplexDoubles(lines.get());
    for (std::size_t k = 0; k < samples.size(); ++k) {
      transform.lines[k] = {values[k].real, values[k].imag};
    }
  }
  return transform;
}

/// The samples of a row of real doubles.
std::span<const double> samples_of(const mxArray* signal) {
  const double* values = read_real_doubles(signal, owner, "signal");
  if (values == nullptr) fail("Field 'signal' of the %s is empty.\n", owner);
  const std::size_t columns = mxGetN(signal);
  if (columns > 0x7fffffff) fail("Field 'signal' of the %s is too long.\n", owner);
  return {values, columns};
}

}  // namespace

template <>
ExcitationFunction::ExcitationFunction(const mxArray* signal, double ts, double w,
                                       double clip_threshold, int type)
    : ExcitationFunction(samples_of(signal), transform_by_host(samples_of(signal)), ts, w,
                         clip_threshold, type) {}

namespace {

/// The object that row `row` (from 0) of the structure describes.
std::unique_ptr<ExcitationFunction> from_row(const mxArray* structure, int row, bool only_row) {
  const auto scalar = [&](const char* field) {
    return read_number(structure, field, owner, only_row ? 0 : row + 1);
  };
  if (has_field(structure, "signal")) {
    const mxArray* signal = field_value(structure, "signal", row);
    const double ts = scalar("ts"), w = scalar("w"), clip_threshold = scalar("clip_threshold");
    return std::make_unique<ExcitationFunction>(signal, ts, w, clip_threshold, 0);
  }
  const double type = scalar("type");
  const double a0 = scalar("A0"), f0 = scalar("f0"), pulse_width = scalar("pulse_width");
  const double b = scalar("B");
  if (type >= 1 && type < 2) return std::make_unique<ToneBurst>(a0, f0, pulse_width, b, 1);
  if (type >= 2 && type < 3) return std::make_unique<HanningPulse>(a0, f0, pulse_width, b, 2);
  if (type >= 3 && type < 4) return std::make_unique<TCubedPulse>(a0, f0, pulse_width, b, 3);
  fail(
      "Invalid excitation function type. Please see the documentation for set_excitation_function "
      "for a list of valid types.\n");
}

}  // namespace

template <>
void ExcitationFunction::excitation_vector(std::vector<ExcitationFunction*>* out,
                                           const mxArray* structure, int nelements) {
  if (structure == nullptr || !mxIsStruct(structure)) {
    fail("The %s must be a structure made by set_excitation_function.\n", owner);
  }
  const std::size_t rows = mxGetNumberOfElements(structure);
  if (rows != 1 && rows != static_cast<std::size_t>(nelements)) {
    fail("Excitation function must have either exactly one row or one row per element.");
  }
  std::vector<std::unique_ptr<ExcitationFunction>> made;
  for (int i = 0; i < nelements; ++i) {
    made.push_back(from_row(structure, rows == 1 ? 0 : i, rows == 1));
  }
  out->reserve(out->size() + made.size());
  for (auto& excitation : made) out->push_back(excitation.release());
}

}  // namespace kestrel
