#include "mex/entries/entry_support.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <new>
#include <optional>
#include <span>

#include "kestrel/error.h"
#include "kestrel/services.h"
#include "mex/readers/element_reader.h"
#include "mex/readers/element_writer.h"
#include "mex/readers/structure_reader.h"

namespace kestrel::gateway {

std::vector<fields::Element> read_elements(const mxArray* array) {
  if (mxIsEmpty(array) && !mxIsStruct(array)) return {};
  if (!mxIsStruct(array)) {
    fail("the array must be a structure array of elements, as kestrel.rectangle returns.");
  }
  const std::size_t count = mxGetNumberOfElements(array);
  if (count > static_cast<std::size_t>(INT_MAX)) fail("the array has %zu elements.", count);
  std::vector<fields::Element> elements;
  elements.reserve(count);
  for (const char* field : {"shape", "center", "euler"}) {
    if (count > 0 && !has_field(array, field)) fail("the array lacks the field '%s'.", field);
  }
  for (int i = 0; i < static_cast<int>(count); ++i) {
    refuse_complex_weight(array, i);
    elements.push_back(read_element(array, i));
  }
  return elements;
}

std::string text_option(const mxArray* options, const char* field) {
  char text[64] = "";
  const mxArray* value = field_value(options, field);
  if (value == nullptr || !mxIsChar(value) || mxGetString(value, text, sizeof text) != 0) {
    fail("the option '%s' must be text.", field);
  }
  return text;
}

namespace {

/// The option, or what it is when it is not given.
double number_or(double usual, const mxArray* options, const char* field) {
  return has_field(options, field) ? read_number(options, field, "options") : usual;
}

std::optional<InstructionSet> read_instruction_set(const mxArray* options) {
  if (!has_field(options, "instruction_set")) return std::nullopt;
  const std::string set = text_option(options, "instruction_set");
  if (set == "auto") return std::nullopt;
  for (const InstructionSet known : kInstructionSets) {
    if (set == kestrel::name(known)) return known;
  }
  fail(
      "unknown instruction set '%s'; there are 'auto', 'scalar', 'baseline', 'avx2', 'avx512', "
      "'neon'.",
      set.c_str());
}

kzk::Parameters read_march(const mxArray* options, bool pulse) {
  struct Field {
    const char* name;
    float kzk::Parameters::*number;
    int kzk::Parameters::*count;
  };
  using P = kzk::Parameters;
  constexpr Field kPulse[] = {{"step", &P::step_factor, nullptr},
                              {"radial_step", &P::radial_step, nullptr},
                              {"radius", &P::domain_radius, nullptr},
                              {"samples", &P::samples_per_period, nullptr},
                              {"guard", &P::guard_periods, nullptr}};
  constexpr Field kWave[] = {kPulse[0],
                             kPulse[1],
                             kPulse[2],
                             {"harmonics", nullptr, &P::harmonics},
                             {"harmonic", nullptr, &P::harmonic}};
  const std::span<const Field> fields = pulse ? std::span<const Field>(kPulse) : kWave;
  std::string names;
  for (const Field& field : fields) names += (names.empty() ? "" : ", ") + std::string(field.name);

  kzk::Parameters march;
  const mxArray* given = field_value(options, "kzk");
  if (given == nullptr || (mxIsNumeric(given) && mxIsEmpty(given))) return march;
  if (!mxIsStruct(given) || mxGetNumberOfElements(given) != 1) {
    fail("the option 'kzk' must be one structure with some of the fields %s.", names.c_str());
  }
  for (int i = 0; i < mxGetNumberOfFields(given); ++i) {
    const char* name = mxGetFieldNameByNumber(given, i);
    const auto field = std::find_if(fields.begin(), fields.end(), [&](const Field& f) {
      return std::string_view(f.name) == name;
    });
    if (field == fields.end()) {
      fail("the option 'kzk' has a field '%s'; what it may have is %s.", name, names.c_str());
    }
    const mxArray* entry = mxGetFieldByNumber(given, 0, i);
    if (entry == nullptr || (mxIsNumeric(entry) && mxIsEmpty(entry))) continue;  // the default
    const double value = read_scalar(entry, "option 'kzk'", name);
    if (field->number != nullptr) {
      march.*field->number = static_cast<float>(value);
    } else if (!std::isnan(value)) {  // which means the default, as 0 does
      if (value != std::floor(value)) {
        fail("the option 'kzk': %s must be a whole number, but it is %g.", name, value);
      }
      march.*field->count = static_cast<int>(std::clamp(value, -1.0, 1e6));
    }
  }
  return march;
}

int read_threads(const mxArray* options) {
  constexpr double kMost = 1024;
  const double threads = number_or(0, options, "threads");
  if (!(threads >= 0 && threads <= kMost && threads == std::floor(threads))) {
    fail("threads must be a whole number from 0 to %g, but it is %g.", kMost, threads);
  }
  return static_cast<int>(threads);
}

int read_nodes(const mxArray* ndiv) {
  const double nodes = read_scalar(ndiv, nullptr, "ndiv");
  if (!(nodes >= 1 && nodes <= INT_MAX && nodes == std::floor(nodes))) {
    fail("ndiv must be a whole number of at least 1, but it is %g.", nodes);
  }
  return static_cast<int>(nodes);
}

}  // namespace

fields::Settings read_run(const mxArray* options, const mxArray* ndiv, bool pulse,
                          const char* usual, ProgressReporter& progress) {
  if (!mxIsStruct(options)) fail("the options must be a structure.");
  fields::Settings settings;
  const std::string method = has_field(options, "method") ? text_option(options, "method") : usual;
  settings.method = fields::find_method(
      pulse ? fields::transient_methods() : fields::continuous_wave_methods(), method);
  settings.instruction_set = read_instruction_set(options);
  settings.reuse = number_or(settings.reuse, options, "reuse") != 0;
  settings.memory = number_or(settings.memory, options, "memory");
  const mxArray* tolerance = field_value(options, "tolerance");
  if (tolerance != nullptr && !mxIsEmpty(tolerance)) {
    settings.tolerance = read_scalar(tolerance, "options", "tolerance");
  } else if (!settings.method->marched) {
    if (!pulse && mxIsEmpty(ndiv)) {
      fail("ndiv may be empty only when the option 'tolerance' is given.");
    }
    settings.nodes = read_nodes(ndiv);
  }
  if (number_or(1, options, "progress") == 0) progress.be_silent();
  settings.threads = read_threads(options);
  settings.kzk = read_march(options, pulse);
  settings.progress = [&progress](double fraction) { return progress(fraction); };
  settings.announce = [&progress](double seconds) { progress.announce(seconds); };
  return settings;
}

std::string ProgressLines::next(double now, double fraction) {
  constexpr double kPeriod = 4, kLong = 6, kSoon = 1;
  char line[80] = "";
  if (!(fraction > 0)) _begin = now;
  if (!(fraction > fields::kBegun)) {
    if (now < _next) return line;
    std::snprintf(line, sizeof line, "  0 %%, %.0f s so far", now);
  } else {
    const double total = (now - _begin) / fraction;
    const bool early = _estimated ? now < _next : now - _begin < kSoon || total < kLong;
    if (early) return line;
    _estimated = true;
    std::snprintf(line, sizeof line, "%3.0f %%, %.0f s left of about %.0f s", 100 * fraction,
                  std::ceil(total * (1 - fraction)), std::ceil(total));
  }
  _next = now + kPeriod;
  return line;
}

bool ProgressReporter::operator()(double fraction) {
  if (services::interrupted()) return false;
  if (!_prints) return true;
  const std::string line = _lines.next(seconds(), fraction);
  if (!line.empty()) services::print("%s: %s\n", _entry, line.c_str());
  return true;
}

void ProgressReporter::announce(double seconds) const {
  constexpr double kLong = 6;
  if (_prints && seconds > kLong) services::print("%s: this takes about %.0f s\n", _entry, seconds);
}

std::vector<std::size_t> result_size(const CoordinateGrid& grid) {
  const auto extent = [](int n) { return static_cast<std::size_t>(n); };
  if (!grid.regular()) return {extent(grid.npoints())};
  return {extent(grid.nx()), extent(grid.ny()), extent(grid.nz())};
}

namespace {

/// The fields of the structure 'info', in the order in which they are added.
class Info {
 public:
  void add(const char* field, std::initializer_list<double> row) {
    mxArray* value = made(mxCreateDoubleMatrix(1, row.size(), mxREAL));
    std::copy(row.begin(), row.end(), mxGetDoubles(value));
    add(field, value);
  }
  void add(const char* field, double number) { add(field, {number}); }
  void add(const char* field, const char* text) { add(field, made(mxCreateString(text))); }
  mxArray* array() {
    mxArray* array =
        made(mxCreateStructMatrix(1, 1, static_cast<int>(_names.size()), _names.data()));
    for (std::size_t i = 0; i < _names.size(); ++i) mxSetField(array, 0, _names[i], _values[i]);
    return array;
  }

 private:
  void add(const char* field, mxArray* value) {
    _names.push_back(field);
    _values.push_back(value);
  }

  std::vector<const char*> _names;
  std::vector<mxArray*> _values;
};

/// "reuse and direct", for example.
std::string way_of(const fields::Report& report) {
  std::string way;
  const auto add = [&](std::size_t elements, const char* name) {
    if (elements > 0) way += (way.empty() ? "" : " and ") + std::string(name);
  };
  add(report.reused_elements, "reuse");
  add(report.grouped_elements, "groups");
  add(report.direct_elements, "direct");
  return way.empty() ? "direct" : way;
}

}  // namespace

mxArray* describe(const fields::Report& report, const fields::Settings& settings, bool pulse,
                  double result_bytes) {
  const bool marched = settings.method->marched;
  Info info;
  info.add("method", settings.method->name);
  info.add("time", report.seconds);
  if (pulse) {
    info.add("nodes", settings.nodes);
  } else {
    info.add("nodes", {double(report.least_nodes), double(report.greatest_nodes)});
    info.add("way", marched ? "march" : way_of(report).c_str());
    info.add("reused_elements", static_cast<double>(report.reused_elements));
  }
  info.add("threads", report.threads);
  info.add("instruction_set", name(report.instruction_set));
  info.add("memory", report.memory);
  info.add("result_memory", result_bytes);
  if (!pulse) info.add("error_estimate", report.error_estimate);
  if (marched) {
    info.add("planes", static_cast<double>(report.march.planes));
    info.add("radial_nodes", static_cast<double>(report.march.nodes));
    info.add(pulse ? "samples" : "harmonics", static_cast<double>(report.march.unknowns));
  }
  return info.array();
}

void warn_of_result(const char* entry, const fields::Report& report, std::size_t total,
                    const CoordinateGrid& grid, const std::function<bool(std::size_t)>& finite) {
  for (const std::string& warning : report.warnings) services::warn(warning.c_str());
  std::size_t count = 0, first = 0;
  for (std::size_t i = total; i-- > 0;) {
    if (finite(i)) continue;
    ++count;
    first = i;
  }
  if (count == 0) return;
  const int point = static_cast<int>(first % static_cast<std::size_t>(grid.npoints()));
  const CartesianCoordinate p = grid.spatial_index_value(point);
  char text[256];
  std::snprintf(text, sizeof text,
                "%s: %zu of %zu pressures are NaN or Inf, the first at point %d, (%g, %g, %g) m.",
                entry, count, total, point + 1, p.x, p.y, p.z);
  services::warn(text);
}

void run_named(const char* entry, const std::function<void()>& body) {
  std::string text;
  try {
    return body();
  } catch (const Error& error) {
    text = error.what();
  } catch (const std::bad_alloc&) {
    text = "Out of memory.";
  }
  throw Error(entry + (": " + text));
}

}  // namespace kestrel::gateway
