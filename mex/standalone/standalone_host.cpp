#include "mex/standalone/standalone_host.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <ostream>

#include "mex/standalone/interpreter_functions.h"
#include "mex/standalone/registry.h"
#include "services/format_text.h"

namespace kestrel::standalone {
namespace {

using services::format_text;

thread_local Capture* innermost_capture = nullptr;

std::map<std::string, Function>& functions() {
  static auto* table =
      new std::map<std::string, Function>{{"fft", fft}, {"real", real}, {"imag", imag}};
  return *table;
}

/// Runs a function as a call of its own and gives the caller what it returns.
void run(const Function& function, int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  CallScope scope;
  // The first result has a place even when none is asked for: an interpreter calls it "ans".
  const int places = std::max(nlhs, 1);
  std::fill_n(plhs, places, nullptr);
  try {
    function(nlhs, plhs, nrhs, prhs);
  } catch (...) {
    std::fill_n(plhs, places, nullptr);
    throw;
  }
  for (int i = 0; i < places; ++i) {
    if (plhs[i] != nullptr) scope.give_to_caller(plhs[i]);
  }
}

}  // namespace

Capture::Capture() : _outer(std::exchange(innermost_capture, this)) {}

Capture::~Capture() { innermost_capture = _outer; }

void Capture::add_print(const std::string& text) {
  _printed += text;
  _console += text;
}

void Capture::add_warning(const std::string& text) {
  _warnings.push_back(text);
  _console += "Warning: " + text + "\n";
}

CallResult call(const Function& entry, int nlhs, const std::vector<const mxArray*>& arguments) {
  CallResult result;
  Capture capture;
  std::vector<mxArray*> outputs(static_cast<std::size_t>(std::max(nlhs, 1)));
  std::vector<const mxArray*> inputs = arguments;
  try {
    run(entry, nlhs, outputs.data(), static_cast<int>(inputs.size()), inputs.data());
  } catch (const ErrorCall& error) {
    result.error = error.text;
    result.error_identifier = error.identifier;
  }
  for (mxArray* output : outputs) result.outputs.emplace_back(output);
  result.printed = capture.printed();
  result.warnings = capture.warnings();
  result.console = capture.console();
  return result;
}

RegisteredFunction::RegisteredFunction(std::string name, Function function)
    : _name(std::move(name)), _outer(std::exchange(functions()[_name], std::move(function))) {}

RegisteredFunction::~RegisteredFunction() {
  if (_outer) {
    functions()[_name] = std::move(_outer);
  } else {
    functions().erase(_name);
  }
}

std::ostream& operator<<(std::ostream& stream, const Live& live) {
  return stream << live.blocks << " blocks and " << live.arrays << " arrays alive";
}

Value Value::matrix(std::size_t rows, std::size_t columns, const std::vector<double>& values) {
  if (values.size() != rows * columns) misuse("a matrix is given a wrong number of values");
  Value result = zeros(rows, columns);
  std::copy(values.begin(), values.end(), mxGetDoubles(result));
  return result;
}

Value Value::complex_matrix(std::size_t rows, std::size_t columns,
                            const std::vector<std::complex<double>>& values) {
  if (values.size() != rows * columns) misuse("a matrix is given a wrong number of values");
  Value result = zeros(rows, columns, mxDOUBLE_CLASS, mxCOMPLEX);
  std::transform(values.begin(), values.end(), mxGetComplexDoubles(result),
                 [](std::complex<double> z) {
                   return mxComplexDouble{z.real(), z.imag()};
                 });
  return result;
}

Value Value::zeros(std::size_t rows, std::size_t columns, mxClassID class_id,
                   mxComplexity complexity) {
  return Value(mxCreateNumericMatrix(rows, columns, class_id, complexity));
}

StructArray& StructArray::add_field(const char* name) {
  mxAddField(_value, name);
  return *this;
}

StructArray& StructArray::set(const char* name, Value value, std::size_t index) {
  const int field = mxAddField(_value, name);
  const Value old(mxGetFieldByNumber(_value, index, field));
  mxSetFieldByNumber(_value, index, field, value.release());
  return *this;
}

StructArray& StructArray::set(const char* name, double value, std::size_t index) {
  return set(name, Value::scalar(value), index);
}

StructArray& StructArray::set(const char* name, const char* text, std::size_t index) {
  return set(name, Value::text(text), index);
}

StructArray& StructArray::set(const char* name, std::initializer_list<double> row,
                              std::size_t index) {
  return set(name, Value::row(row), index);
}

}  // namespace kestrel::standalone

using namespace kestrel::standalone;
using kestrel::services::format_text;

int mexPrintf(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = format_text(format, arguments);
  va_end(arguments);
  if (innermost_capture != nullptr) {
    innermost_capture->add_print(text);
  } else {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
  }
  return static_cast<int>(text.size());
}

void mexWarnMsgTxt(const char* text) {
  if (innermost_capture != nullptr) {
    innermost_capture->add_warning(text);
  } else {
    std::fprintf(stderr, "Warning: %s\n", text);
  }
}

void mexWarnMsgIdAndTxt(const char*, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = format_text(format, arguments);
  va_end(arguments);
  mexWarnMsgTxt(text.c_str());
}

void mexErrMsgTxt(const char* text) { throw ErrorCall{"", text}; }

void mexErrMsgIdAndTxt(const char* identifier, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::string text = format_text(format, arguments);
  va_end(arguments);
  throw ErrorCall{identifier, std::move(text)};
}

int mexCallMATLAB(int nlhs, mxArray* plhs[], int nrhs, mxArray* prhs[], const char* name) {
  const auto found = functions().find(name);
  if (found == functions().end()) {
    mexErrMsgIdAndTxt("host:undefinedFunction", "Undefined function '%s'.", name);
  }
  const std::vector<const mxArray*> inputs(prhs, prhs + nrhs);
  // As many places as `run` may use, which is one more than the caller's when it asks for none.
  std::vector<mxArray*> outputs(static_cast<std::size_t>(std::max(nlhs, 1)));
  // A copy, because the function may unregister itself.
  const Function function = found->second;
  run(function, nlhs, outputs.data(), nrhs, const_cast<const mxArray**>(inputs.data()));
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    if (static_cast<int>(i) < nlhs) {
      plhs[i] = outputs[i];
    } else {
      mxDestroyArray(outputs[i]);
    }
  }
  return 0;
}

int mexEvalString(const char* statement) {
  if (functions().count(statement) == 0) return 0;
  try {
    mexCallMATLAB(0, nullptr, 0, nullptr, statement);
  } catch (const ErrorCall&) {
    return 1;
  }
  return 0;
}
