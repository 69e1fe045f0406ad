#include "tests/fuzz/made_up_call.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <stdexcept>

#include "tests/support/entry_arguments.h"

namespace kestrel::fuzz {

namespace {

using standalone::StructArray;
using standalone::Value;

/// Nodes of a rule, points of a grid and times of an axis have no bound of their own: what counts
/// something is small, or so large that it is refused.
constexpr double kLargestCount = 64, kRefusedCount = 2147483647;

double odd_number(Choices& choices) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr double kOdd[] = {0.0,
                             1.0,
                             -1.0,
                             nan,
                             inf,
                             -inf,
                             0.5,
                             2.0,
                             3.0,
                             -0.0,
                             16.0,
                             1e-3,
                             -1e-3,
                             1e-9,
                             1e-16,
                             1e-300,
                             std::numeric_limits<double>::denorm_min(),
                             1e300,
                             -1e300,
                             std::numeric_limits<double>::max(),
                             2147483648.0,
                             -2147483649.0,
                             4294967297.0,
                             9007199254740993.0,
                             1.8446744073709552e19,
                             1.5707963267948966,
                             -3.141592653589793,
                             1e10};
  if (!choices.chance(15)) return choices.one_of(kOdd);
  const double any = std::bit_cast<double>(choices.bits());
  return std::abs(any) > kLargestCount && std::abs(any) <= kRefusedCount ? 7.0 : any;
}

Value odd_numbers(Choices& choices, std::size_t rows, std::size_t columns) {
  Value matrix = Value::zeros(rows, columns);
  for (std::size_t i = 0; i < rows * columns; ++i) {
    mxGetDoubles(matrix)[i] = odd_number(choices);
  }
  return matrix;
}

Value odd_text(Choices& choices) {
  static const char* const kTexts[] = {"",         "rect",     "circ",          "ring",
                                       "shel",     "sph ring", "fnm_cw",        "fnm_tsd",
                                       "kzk_cw",   "scalar",   "avx2",          "rayleigh_cw",
                                       "%s%n%d%f", "Rect",     "a\nb\tc\x01\"", "kzk_transient"};
  std::string text = choices.one_of(kTexts);
  if (choices.chance(5)) text = std::string(choices.below(9000), 'x');
  return Value::text(text);
}

/// Anything that the host can hold.
Value anything(Choices& choices, int depth = 0) {
  constexpr mxClassID kClasses[] = {mxSINGLE_CLASS, mxINT8_CLASS,   mxUINT8_CLASS, mxINT16_CLASS,
                                    mxINT32_CLASS,  mxUINT32_CLASS, mxINT64_CLASS, mxUINT64_CLASS};
  const std::size_t rows = choices.below(4), columns = choices.below(5);
  switch (choices.below(depth > 1 ? 8 : 10)) {
    case 0:
      return Value::scalar(odd_number(choices));
    case 1:
      return odd_numbers(choices, rows, columns);
    case 2:
      return odd_text(choices);
    case 3:
      return Value::logical(choices.below(2) == 1);
    case 4:
      return Value::zeros(rows, columns, choices.one_of(kClasses));
    case 5:
      return Value::zeros(rows, columns, mxDOUBLE_CLASS, mxCOMPLEX);
    case 6: {
      const mwSize size[] = {rows, columns, choices.below(3)};
      return Value(mxCreateNumericArray(3, size, mxDOUBLE_CLASS, mxREAL));
    }
    case 7:
      return odd_numbers(choices, 1, 3);
    case 8: {
      Value cells(mxCreateCellMatrix(rows, columns));
      for (std::size_t i = 0; i < rows * columns; ++i) {
        if (choices.chance(50)) mxSetCell(cells, i, anything(choices, depth + 1).release());
      }
      return cells;
    }
    default: {
      static const char* const kNames[] = {"shape",     "width",  "xmin", "coordinates", "signal",
                                           "harmonics", "radius", "step", "method",      "tmin"};
      StructArray structure(rows, columns);
      for (std::size_t i = 0; i < rows * columns; ++i) {
        structure.set(choices.one_of(kNames), anything(choices, depth + 1), i);
      }
      return Value(structure.release());
    }
  }
}

/// Changes a structure's elements or fields.
void spoil_structure(Value& structure, Choices& choices) {
  const int fields = mxGetNumberOfFields(structure);
  const std::size_t count = mxGetNumberOfElements(structure);
  if (fields == 0 || count == 0) {
    structure = anything(choices);
    return;
  }
  const int field = static_cast<int>(choices.below(static_cast<std::size_t>(fields)));
  const std::size_t element = choices.below(count);
  const auto put = [&](mxArray* value) {
    const Value old(mxGetFieldByNumber(structure, element, field));
    mxSetFieldByNumber(structure, element, field, value);
  };
  // The same structure with other sizes, and fewer or more fields.
  const auto rebuild = [&](std::size_t rows, std::size_t columns, int left_out) {
    StructArray other(rows, columns);
    for (int f = 0; f < fields; ++f) {
      if (f == left_out) continue;
      const char* name = mxGetFieldNameByNumber(structure, f);
      other.add_field(name);
      for (std::size_t i = 0; i < rows * columns; ++i) {
        const mxArray* value = mxGetFieldByNumber(structure, i % count, f);
        if (value != nullptr) other.set(name, Value(mxDuplicateArray(value)), i);
      }
    }
    structure = Value(other.release());
  };
  switch (choices.below(8)) {
    case 0:
    case 1:
    case 2:
      return put(Value::scalar(odd_number(choices)).release());
    case 3: {
      mxArray* value = mxGetFieldByNumber(structure, element, field);
      if (value != nullptr && mxIsStruct(value)) {
        Value inner(mxDuplicateArray(value));
        spoil_structure(inner, choices);
        return put(inner.release());
      }
      return put(anything(choices).release());
    }
    case 4:
      return put(anything(choices).release());
    case 5:
      return put(nullptr);
    case 6:
      return rebuild(1, count, field);
    default:
      return rebuild(choices.below(3), choices.below(4), -1);
  }
}

void spoil(MadeUpCall& call, Choices& choices) {
  call.valid = false;
  if (choices.chance(6)) call.nlhs = static_cast<int>(choices.below(5));
  if (choices.chance(3)) {
    if (choices.below(2) == 0 && !call.arguments.empty())
      call.arguments.pop_back();
    else
      call.arguments.push_back(anything(choices));
  }
  for (std::size_t changes = 1 + choices.below(3); changes > 0 && !call.arguments.empty();
       --changes) {
    Value& argument = call.arguments[choices.below(call.arguments.size())];
    if (mxIsStruct(argument) && !choices.chance(5))
      spoil_structure(argument, choices);
    else
      argument = anything(choices);
  }
}

/// A field that is a number to the readers.
std::optional<double> number(const mxArray* structure, const char* field) {
  const mxArray* value = mxGetField(structure, 0, field);
  if (value == nullptr || mxIsEmpty(value)) return std::nullopt;
  if (!mxIsNumeric(value) && !mxIsLogical(value)) return std::nullopt;
  return mxGetScalar(value);
}

/// Values of an axis; 1 where the axis is refused.
double axis_values(const mxArray* structure, const std::string& least, const std::string& greatest,
                   double step) {
  const std::optional<double> from = number(structure, least.c_str()),
                              to = number(structure, greatest.c_str());
  if (!from || !to) return 1;
  const double count = std::floor((*to - *from) / step) + 1;
  return count >= 1 && count <= kRefusedCount ? count : 1;
}

/// Values that a grid or a time axis would have.
double values_of(const mxArray* argument) {
  if (!mxIsStruct(argument) || mxIsEmpty(argument)) return 1;
  if (const std::optional<double> step = number(argument, "deltat")) {
    return axis_values(argument, "tmin", "tmax", *step);
  }
  const mxArray* delta = mxGetField(argument, 0, "delta");
  if (delta == nullptr || !mxIsDouble(delta) || mxIsEmpty(delta)) return 1;
  double product = 1;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const std::string name(1, "xyz"[axis]);
    const std::size_t given = mxGetNumberOfElements(delta);
    const double* steps = mxIsComplex(delta) ? nullptr : mxGetDoubles(delta);
    if (steps == nullptr) return 1;
    product *= axis_values(argument, name + "min", name + "max", steps[std::min(axis, given - 1)]);
  }
  return product;
}

[[noreturn]] void wrong(const std::string& what) { throw std::runtime_error(what); }

}  // namespace

Value an_array(Choices& choices, std::initializer_list<const char*> shapes) {
  const char* const* shape = shapes.begin() + choices.below(shapes.size());
  return Value(test::elements(*shape, choices.below(5)).release());
}

Value a_grid(Choices& choices) {
  switch (choices.below(3)) {
    case 0:
      return Value(
          test::regular_points(1 + int(choices.below(6)), 1 + int(choices.below(6))).release());
    case 1:
      return Value(test::listed_points().release());
    default:
      return Value(test::regular_points(3, 2, 25e-3).release());
  }
}

MadeUpCall field_call(Choices& choices, std::initializer_list<const char*> shapes) {
  MadeUpCall call;
  call.valid = true;
  call.arguments.push_back(an_array(choices, shapes));
  call.arguments.push_back(a_grid(choices));
  call.arguments.emplace_back(test::water().release());
  return call;
}

MadeUpCall make_up_call(Choices& choices) {
  MadeUpCall call = right_call(choices);
  if (!choices.chance(10)) spoil(call, choices);
  return call;
}

Outcome run_made_up_call(Choices& choices) {
  using Clock = std::chrono::steady_clock;
  constexpr double kMostValues = 4000;  // points or times
  constexpr std::chrono::milliseconds kLong{200};
  const standalone::Live before = standalone::live();
  Outcome outcome = Outcome::computed;
  {
    const MadeUpCall made = make_up_call(choices);
    double values = 1;
    for (const Value& argument : made.arguments) values *= values_of(argument);
    if (values > kMostValues) return Outcome::too_large;

    const Clock::time_point start = Clock::now();
    bool interrupted = false;
    const standalone::RegisteredFunction interrupt("pause(0);",
                                                   [&](int, mxArray**, int, const mxArray**) {
                                                     if (Clock::now() - start < kLong) return;
                                                     interrupted = true;
                                                     mexErrMsgTxt("interrupt");
                                                   });
    std::optional<standalone::AllocationLimit> limit;
    const bool short_of_memory = choices.chance(8);
    const std::size_t granted = choices.below(100);
    std::vector<const mxArray*> arguments(made.arguments.begin(), made.arguments.end());
    if (short_of_memory) limit.emplace(granted);
    const standalone::CallResult result = standalone::call(mexFunction, made.nlhs, arguments);
    limit.reset();

    if (result.error) {
      outcome = interrupted ? Outcome::interrupted : Outcome::refused;
      if (result.error->empty()) wrong("an error without a text");
      if (result.error_identifier.empty() && !short_of_memory) {
        wrong("an error without an identifier: " + *result.error);
      }
      if (result.output() != nullptr) wrong("an error and a result: " + *result.error);
      if (made.valid && !interrupted && !short_of_memory) {
        wrong("right arguments were refused: " + *result.error);
      }
    } else if (result.output() == nullptr) {
      wrong("neither a result nor an error");
    }
  }
  if (!(standalone::live() == before)) wrong("something is left behind in the host");
  return outcome;
}

}  // namespace kestrel::fuzz
