#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "kestrel/elements.h"
#include "kestrel/field.h"
#include "kestrel/grid.h"
#include "mex/host/entry.h"
#include "mex/host/mex_api.h"

/// What the compiled halves of the whole-array functions share.

namespace kestrel::gateway {

/// All elements of a structure array, which may be empty.
std::vector<fields::Element> read_elements(const mxArray* array);

/// A field of the structure `options` that must be text.
std::string text_option(const mxArray* options, const char* field);

/// What is to be said of the progress, and when. The fraction is 0 while the work is being planned;
/// what is left of it is judged by the time since then.
class ProgressLines {
 public:
  /// To be asked some ten times a second, with the seconds since the call. A line, without its end;
  /// mostly none.
  std::string next(double now, double fraction);

 private:
  double _begin = 0;  // of the work, after the planning
  double _next = 4;
  bool _estimated = false;
};

/// Says now and then how far long work is, and asks whether the user wants it to end.
class ProgressReporter {
 public:
  /// `entry`: the name by which users know the function.
  explicit ProgressReporter(const char* entry) : _entry(entry) {}

  /// From now on prints nothing, however long the work takes.
  void be_silent() { _prints = false; }

  bool operator()(double fraction);

  /// Says how long the work will take, if that is long.
  void announce(double seconds) const;

 private:
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
  }

  const char* _entry;
  std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();
  ProgressLines _lines;
  bool _prints = true;
};

/// The settings that the options of a whole-array function give; what they leave out has its
/// default. `options` is a structure with any of the fields method (text), threads (0: all), kzk,
/// progress, and for continuous waves tolerance (empty: use ndiv), reuse, memory (bytes) and
/// instruction_set (text). A field kzk is a structure in which every number may be missing: of a
/// pulse step, radial_step, radius, samples and guard, of a continuous wave step, radial_step,
/// radius, harmonics and harmonic. `usual`: the method when none is given. Fails for other fields
/// of kzk, and for values that cannot be.
fields::Settings read_run(const mxArray* options, const mxArray* ndiv, bool pulse,
                          const char* usual, ProgressReporter& progress);

/// The extents of a field on the grid: three of a regular grid, one of a list of points.
std::vector<std::size_t> result_size(const CoordinateGrid& grid);

/// The structure by which an entry tells what was done: `result_bytes` are those of the result.
mxArray* describe(const fields::Report& report, const fields::Settings& settings, bool pulse,
                  double result_bytes);

/// Issues the report's warnings, and one when of `total` values some are not finite; `finite(i)`
/// asks for value i, which belongs to the grid point i modulo the number of points.
void warn_of_result(const char* entry, const fields::Report& report, std::size_t total,
                    const CoordinateGrid& grid, const std::function<bool(std::size_t)>& finite);

/// Runs an entry's body; its errors begin with the name by which users know the entry.
void run_named(const char* entry, const std::function<void()>& body);

/// Runs a body as the plug-in's outermost function.
template <class Body>
void run_entry_as(const char* entry, const Body& body) {
  host::run_entry([&] { run_named(entry, body); }, "kestrel:field");
}

}  // namespace kestrel::gateway
