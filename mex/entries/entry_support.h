#pragma once

#include <chrono>
#include <functional>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

#include "kestrel/elements.h"
#include "kestrel/field.h"
#include "kestrel/grid.h"
#include "kestrel/method.h"
#include "kestrel/nonlinear.h"
#include "mex/host/mex_api.h"

/// What the compiled halves of the whole-array functions share.

namespace kestrel::gateway {

/// All elements of a structure array, which may be empty.
std::vector<fields::Element> read_elements(const mxArray* array);

/// Fields of the structure `options`.
std::string text_option(const mxArray* options, const char* field);
double number_option(const mxArray* options, const char* field);

/// The march's parameters, in the field `kzk` of the options: a structure in which every number may
/// be missing. Of a pulse (`pulse`) they are step, radial_step, radius, samples and guard, of a
/// continuous wave step, radial_step, radius, harmonics and harmonic. Fails for other fields.
kzk::Parameters read_march(const mxArray* options, bool pulse);

/// The option 'threads': 0 for one per processor core, or their number.
int read_threads(const mxArray* options);

/// A number of quadrature nodes, at least 1.
int read_nodes(const mxArray* ndiv);

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
class Console {
 public:
  /// `entry`: the name by which users know the function.
  Console(const char* entry, bool prints) : _entry(entry), _prints(prints) {}

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
  bool _prints;
};

/// The extents of a field on the grid: three of a regular grid, one of a list of points.
std::vector<std::size_t> result_size(const CoordinateGrid& grid);

/// Bytes of an array's numbers.
double bytes_of(const mxArray* array);

/// The structure by which an entry tells what was done. Fails where memory runs out; a value that
/// the structure has no field for is a fault of the program.
class Info {
 public:
  explicit Info(std::span<const char*> fields);
  void set(const char* field, std::initializer_list<double> row);
  void set(const char* field, double number) { set(field, {number}); }
  void set(const char* field, const char* text);
  mxArray* array() const { return _array; }

 private:
  void put(const char* field, mxArray* value);

  mxArray* _array;
};

/// The settings that every whole-array function has: threads, a march's parameters, and a console
/// to tell how far the work is.
template <class Settings>
void read_run(Settings& settings, const mxArray* options, bool pulse, Console& console) {
  settings.threads = read_threads(options);
  settings.kzk = read_march(options, pulse);
  settings.progress = [&console](double fraction) { return console(fraction); };
  settings.announce = [&console](double seconds) { console.announce(seconds); };
}

/// Warns when of `total` values some are not finite; `finite(i)` asks for value i, which belongs to
/// the grid point i modulo the number of points.
void warn_of_values_that_are_not_finite(const char* entry, std::size_t total,
                                        const CoordinateGrid& grid,
                                        const std::function<bool(std::size_t)>& finite);

/// Runs an entry's body; its errors begin with the name by which users know the entry.
void run_named(const char* entry, const std::function<void()>& body);

}  // namespace kestrel::gateway
