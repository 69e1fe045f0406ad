#pragma once

/// The C++ face of the standalone host: what MATLAB or Octave would be to a plug-in, for tests and
/// programs. It runs entries, collects what they print, builds their arguments, and says what they
/// leave behind. A test links it with one plug-in's `<name>_standalone` library, which has the
/// `mexFunction` of this example.
///
///     StructArray medium;
///     medium.set("density", 1000.0).set("soundspeed", 1500.0);
///     const CallResult result = call(mexFunction, 1, {medium, Value::scalar(1e6)});
///     EXPECT_EQ(result.error, std::nullopt);
///
/// Outside of `call` and `Capture`, prints go to stdout and warnings to stderr.

#include <complex>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "mex/standalone/mex.h"

namespace kestrel::standalone {

/// What the error call throws. Not a std::exception, so that nothing but `call` ends it.
struct ErrorCall {
  std::string identifier;
  std::string text;
};

/// Owns an array.
class Value {
 public:
  Value() = default;
  explicit Value(mxArray* array) : _array(array) {}
  Value(Value&& other) noexcept : _array(other.release()) {}
  Value& operator=(Value&& other) noexcept {
    std::swap(_array, other._array);
    return *this;
  }
  ~Value() { mxDestroyArray(_array); }

  operator mxArray*() const { return _array; }
  mxArray* release() { return std::exchange(_array, nullptr); }

  static Value scalar(double value) { return Value(mxCreateDoubleScalar(value)); }
  static Value logical(bool value) { return Value(mxCreateLogicalScalar(value)); }
  static Value text(const std::string& text) { return Value(mxCreateString(text.c_str())); }
  static Value row(const std::vector<double>& values) { return matrix(1, values.size(), values); }
  /// Doubles in column order.
  static Value matrix(std::size_t rows, std::size_t columns, const std::vector<double>& values);
  static Value complex_matrix(std::size_t rows, std::size_t columns,
                              const std::vector<std::complex<double>>& values);
  /// Zeros of any numeric class.
  static Value zeros(std::size_t rows, std::size_t columns, mxClassID class_id = mxDOUBLE_CLASS,
                     mxComplexity complexity = mxREAL);

 private:
  mxArray* _array = nullptr;
};

/// Owns a structure array, 1-by-1 unless said otherwise. `set` adds the field when it is new and
/// destroys the value that was there.
class StructArray {
 public:
  explicit StructArray(std::size_t columns = 1) : StructArray(1, columns) {}
  StructArray(std::size_t rows, std::size_t columns)
      : _value(mxCreateStructMatrix(rows, columns, 0, nullptr)) {}

  operator mxArray*() const { return _value; }
  mxArray* release() { return _value.release(); }

  /// The field for elements where it was never set is null.
  StructArray& add_field(const char* name);
  StructArray& set(const char* name, Value value, std::size_t index = 0);
  StructArray& set(const char* name, double value, std::size_t index = 0);
  StructArray& set(const char* name, const char* text, std::size_t index = 0);
  StructArray& set(const char* name, std::initializer_list<double> row, std::size_t index = 0);

 private:
  Value _value;
};

/// While it lives, collects what its thread prints and warns about. Scopes nest; the innermost
/// collects.
class Capture {
 public:
  Capture();
  ~Capture();
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  const std::string& printed() const { return _printed; }
  const std::vector<std::string>& warnings() const { return _warnings; }
  /// Prints and warnings in their order, a warning as a line "Warning: TEXT".
  const std::string& console() const { return _console; }

  void add_print(const std::string& text);
  void add_warning(const std::string& text);

 private:
  Capture* _outer;
  std::string _printed;
  std::vector<std::string> _warnings;
  std::string _console;
};

struct CallResult {
  std::vector<Value> outputs;  ///< max(1, nlhs) of them, null where the entry set none
  std::string printed;
  std::vector<std::string> warnings;
  std::string console;               ///< as Capture::console
  std::optional<std::string> error;  ///< the text, when the error call was made
  std::string error_identifier;

  /// An output, null when there is none.
  mxArray* output(std::size_t index = 0) const {
    return index < outputs.size() ? static_cast<mxArray*>(outputs[index]) : nullptr;
  }
};

using Function = std::function<void(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[])>;

/// Runs an entry as the host does: ends an error call, gives the outputs to the caller and reclaims
/// everything else that the entry left. Any other exception passes through after the cleaning.
CallResult call(const Function& entry, int nlhs, const std::vector<const mxArray*>& arguments);

/// While it lives, `mexCallMATLAB` knows `name`; a name that exists already is replaced.
class RegisteredFunction {
 public:
  RegisteredFunction(std::string name, Function function);
  ~RegisteredFunction();
  RegisteredFunction(const RegisteredFunction&) = delete;
  RegisteredFunction& operator=(const RegisteredFunction&) = delete;

 private:
  std::string _name;
  Function _outer;
};

/// Blocks and arrays that are alive, those inside of arrays too.
struct Live {
  std::size_t blocks = 0;
  std::size_t arrays = 0;
  bool operator==(const Live&) const = default;
};
Live live();
std::ostream& operator<<(std::ostream& stream, const Live& live);

/// While it lives, only so many more allocations (blocks and arrays) succeed; then null is returned
/// where an interpreter would do the same or make its own error call.
class AllocationLimit {
 public:
  explicit AllocationLimit(std::size_t granted);
  ~AllocationLimit();
  AllocationLimit(const AllocationLimit&) = delete;
  AllocationLimit& operator=(const AllocationLimit&) = delete;

 private:
  std::int64_t _outer;
};

}  // namespace kestrel::standalone
