// The standalone host stands in for MATLAB in all other tests: what they rely on.

#include "mex/standalone/standalone_host.h"

#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>

namespace kestrel::standalone {
namespace {

template <class Number>
Value value_of(mxClassID class_id, Number number) {
  Value value = Value::zeros(2, 3, class_id);
  std::memcpy(mxGetData(value), &number, sizeof number);
  return value;
}

TEST(StandaloneHost, PropertiesAndScalarsOfEveryClass) {
  struct Case {
    const char* class_name;
    Value value;
    double scalar;
    bool is_numeric = true;
    bool is_complex = false;
  };
  const Case cases[] = {
      {"double", value_of(mxDOUBLE_CLASS, -2.9), -2.9},
      {"double", Value::complex_matrix(1, 1, {{3, 4}}), 3, true, true},
      {"single", value_of(mxSINGLE_CLASS, 0.1f), 0.1f},
      {"int8", value_of(mxINT8_CLASS, std::int8_t{-128}), -128},
      {"uint8", value_of(mxUINT8_CLASS, std::uint8_t{255}), 255},
      {"int16", value_of(mxINT16_CLASS, std::int16_t{-32768}), -32768},
      {"uint16", value_of(mxUINT16_CLASS, std::uint16_t{65535}), 65535},
      {"int32", value_of(mxINT32_CLASS, std::int32_t{-2147483647}), -2147483647},
      {"uint32", value_of(mxUINT32_CLASS, std::uint32_t{4294967295}), 4294967295.0},
      {"int64", value_of(mxINT64_CLASS, std::int64_t{-1} << 62), -0x1p62},
      {"uint64", value_of(mxUINT64_CLASS, std::uint64_t{1} << 63), 0x1p63},
      {"logical", Value::logical(true), 1, false},
      {"char", Value::text("A"), 65, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.class_name);
    EXPECT_STREQ(mxGetClassName(c.value), c.class_name);
    EXPECT_EQ(mxGetScalar(c.value), c.scalar);
    EXPECT_EQ(mxIsNumeric(c.value), c.is_numeric);
    EXPECT_EQ(mxIsComplex(c.value), c.is_complex);
    EXPECT_EQ(mxIsChar(c.value), std::strcmp(c.class_name, "char") == 0);
    EXPECT_EQ(mxIsLogical(c.value), std::strcmp(c.class_name, "logical") == 0);
    EXPECT_EQ(mxGetComplexDoubles(c.value) != nullptr, c.is_complex);
    EXPECT_FALSE(mxIsStruct(c.value));
  }
  EXPECT_TRUE(mxIsStruct(Value(mxCreateStructMatrix(2, 3, 0, nullptr))));
  EXPECT_STREQ(mxGetClassName(Value(mxCreateCellMatrix(2, 3))), "cell");
}

TEST(StandaloneHost, EndOfCallReclaimsWhatIsNeitherReturnedNorPersistent) {
  const Live before = live();
  void* persistent = nullptr;
  const Value argument = Value::row({1, 2});
  const auto entry = [&](int, mxArray* plhs[], int, const mxArray* prhs[]) {
    mxCreateDoubleMatrix(10, 10, mxREAL);
    mxMalloc(100);
    persistent = mxCalloc(1, 8);
    mexMakeMemoryPersistent(persistent);
    mxArray* cell = mxCreateCellMatrix(1, 1);
    mxSetCell(cell, 0, mxDuplicateArray(prhs[0]));
    StructArray(2).set("a", 1.0);
    plhs[0] = mxCreateDoubleMatrix(0, 0, mxREAL);
    auto* data = static_cast<double*>(mxCalloc(2, sizeof(double)));
    data[1] = 5;
    mxSetDoubles(plhs[0], data);
    mxSetM(plhs[0], 2);
    mxSetN(plhs[0], 1);
  };
  {
    const CallResult result = call(entry, 1, {argument});
    ASSERT_NE(result.output(), nullptr);
    EXPECT_EQ(mxGetDoubles(result.output())[1], 5);
    EXPECT_EQ(live(), (Live{before.blocks + 3, before.arrays + 2}))
        << "argument, output and persistent block";
  }
  mxFree(persistent);
}

TEST(StandaloneHost, ErrorCallUnwindsPastStandardHandlersAndDropsOutputs) {
  bool unwound = false;
  const auto entry = [&](int, mxArray* plhs[], int, const mxArray*[]) {
    struct Guard {
      bool& flag;
      ~Guard() { flag = true; }
    } guard{unwound};
    plhs[0] = mxCreateDoubleScalar(1);
    mexPrintf("before %d\n", 1);
    mexWarnMsgIdAndTxt("a:b", "%s %d", "twice", 2);
    try {
      mexErrMsgIdAndTxt("kestrel:text", "stopped at %d\n", 7);
    } catch (const std::exception&) {
      mexPrintf("swallowed");
    }
  };
  const CallResult result = call(entry, 1, {});
  EXPECT_TRUE(unwound);
  EXPECT_EQ(result.error, "stopped at 7\n");
  EXPECT_EQ(result.error_identifier, "kestrel:text");
  EXPECT_EQ(result.output(), nullptr);
  EXPECT_EQ(result.console, "before 1\nWarning: twice 2\n");
}

TEST(StandaloneHost, OtherExceptionsPassThroughAfterTheCleaning) {
  const Live before = live();
  const auto entry = [](int, mxArray* plhs[], int, const mxArray*[]) {
    plhs[0] = mxCreateDoubleScalar(1);
    throw std::runtime_error("would end the interpreter");
  };
  EXPECT_THROW(call(entry, 1, {}), std::runtime_error);
  EXPECT_EQ(live(), before);
}

TEST(StandaloneHost, AllocationLimitIsExactAndEnds) {
  StructArray structure;
  structure.set("field", 1.0);
  void* first = nullptr;
  {
    const AllocationLimit limit(1);
    first = mxMalloc(8);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(static_cast<unsigned char*>(first)[7], 0xA5) << "no zeros are promised";
    EXPECT_EQ(mxMalloc(1), nullptr);
    EXPECT_EQ(mxCreateDoubleScalar(1), nullptr);
    EXPECT_EQ(mxRealloc(first, 100), nullptr) << "and the block lives on";
  }
  mxFree(first);
  const Live before = live();
  for (std::size_t granted = 0; granted < 3; ++granted) {
    const AllocationLimit limit(granted);
    EXPECT_EQ(mxDuplicateArray(structure), nullptr) << granted;
    EXPECT_EQ(live(), before) << "a copy that fails half-way leaves nothing";
  }
  EXPECT_EQ(mxCalloc(std::numeric_limits<std::size_t>::max() / 2, 3), nullptr);
  const mwSize uncountable[] = {std::size_t{1} << 40, std::size_t{1} << 40};
  EXPECT_EQ(mxCreateNumericArray(2, uncountable, mxDOUBLE_CLASS, mxREAL), nullptr);
  EXPECT_EQ(mxSetDimensions(Value::zeros(1, 1), uncountable, 2), 1);
}

TEST(StandaloneHost, DataMayBeReallocatedOutsideOfItsArray) {
  Value value = Value::row({1, 2});
  auto* larger = static_cast<double*>(mxRealloc(mxGetDoubles(value), 1000 * sizeof(double)));
  EXPECT_EQ(mxSetDoubles(value, larger), 1);
  EXPECT_EQ(mxGetDoubles(value)[1], 2);
  EXPECT_EQ(mxSetComplexDoubles(value, nullptr), 0) << "a real array";
}

TEST(StandaloneHostDeathTest, MisuseIsNotSurvived) {
#if defined(KESTREL_EMULATED)
  GTEST_SKIP() << "a program under an emulator cannot start itself again";
#endif
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(mxGetScalar(nullptr), "array is null");
  EXPECT_DEATH(mxGetScalar(Value::zeros(0, 0)), "without a number");
  EXPECT_DEATH(mxFree(new int), "unknown block");
  EXPECT_DEATH(
      {
        mxArray* array = mxCreateDoubleScalar(1);
        mxDestroyArray(array);
        mxDestroyArray(array);
      },
      "unknown array");
  EXPECT_DEATH(
      {
        StructArray array(2);
        array.add_field("f");
        mxArray* shared = mxCreateDoubleScalar(1);
        mxSetField(array, 0, "f", shared);
        mxSetField(array, 1, "f", shared);
      },
      "into two arrays");
  EXPECT_DEATH(call([](int, mxArray* plhs[], int,
                       const mxArray* prhs[]) { plhs[0] = const_cast<mxArray*>(prhs[0]); },
                    1, {Value::scalar(1).release()}),
               "not an array of its call");
}

using Values = std::vector<std::complex<double>>;

Values call_fft(mxArray* data, std::optional<double> length = {}) {
  const Value count = length ? Value::scalar(*length) : Value();
  mxArray* arguments[] = {data, count};
  mxArray* output = nullptr;
  mexCallMATLAB(1, &output, length ? 2 : 1, arguments, "fft");
  const Value owned(output);
  Values values(mxGetNumberOfElements(owned));
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (mxIsComplex(owned)) {
      values[i] = {mxGetComplexDoubles(owned)[i].real, mxGetComplexDoubles(owned)[i].imag};
    } else {
      values[i] = mxGetDoubles(owned)[i];
    }
  }
  return values;
}

TEST(StandaloneFft, AgreesWithTheDefinitionForAnyLength) {
  std::mt19937 random(20);
  std::uniform_real_distribution<double> uniform(-1, 1);
  for (const std::size_t length : {1, 2, 3, 4, 7, 8, 12, 30, 97, 128, 360, 343}) {
    SCOPED_TRACE(length);
    Values signal(length);
    for (auto& value : signal) value = {uniform(random), uniform(random)};
    const auto spectrum = call_fft(Value::complex_matrix(length, 1, signal));
    ASSERT_EQ(spectrum.size(), length);
    for (std::size_t k = 0; k < length; ++k) {
      std::complex<long double> sum = 0;
      for (std::size_t n = 0; n < length; ++n) {
        const auto turns = static_cast<long double>(k * n % length) / length;
        sum += std::polar(1.0L, -2 * std::numbers::pi_v<long double> * turns) *
               std::complex<long double>(signal[n]);
      }
      ASSERT_LE(std::abs(std::complex<long double>(spectrum[k]) - sum), 2e-15 * (length + 1));
    }
  }
  EXPECT_EQ(call_fft(Value::matrix(2, 2, {1, 2, 3, 5})), (Values{3, -1, 8, -2})) << "by columns";
  EXPECT_EQ(call_fft(Value::row({1, 2})), (Values{3, -1})) << "along the row";
  EXPECT_EQ(call_fft(Value::row({1, 2, 9}), 2), (Values{3, -1})) << "cut";
  EXPECT_EQ(call_fft(Value::matrix(2, 1, {1, 1}), 4), (Values{2, {1, -1}, 0, {1, 1}})) << "padded";
  EXPECT_TRUE(call_fft(Value::zeros(0, 0)).empty());
}

TEST(StandaloneHost, CallsFunctionsByName) {
  const RegisteredFunction twice("twice", [](int, mxArray* plhs[], int, const mxArray* prhs[]) {
    if (mxGetScalar(prhs[0]) < 0) mexErrMsgTxt("not negative, please");
    mxMalloc(64);  // reclaimed when this function ends
    plhs[0] = mxCreateDoubleScalar(2 * mxGetScalar(prhs[0]));
  });
  const auto result_of = [](const char* name, double x) {
    const auto entry = [name](int, mxArray* plhs[], int, const mxArray* prhs[]) {
      mxArray* argument = const_cast<mxArray*>(prhs[0]);
      mexCallMATLAB(1, plhs, 1, &argument, name);
    };
    const Value argument = Value::scalar(x);
    const CallResult result = call(entry, 1, {argument});
    if (result.error) return *result.error;
    return result.output() == nullptr ? "nothing" : std::to_string(mxGetScalar(result.output()));
  };
  EXPECT_EQ(result_of("twice", 2), "4.000000");
  EXPECT_EQ(result_of("twice", -2), "not negative, please");
  {
    const RegisteredFunction broken("twice", [](int, mxArray*[], int, const mxArray*[]) {});
    EXPECT_EQ(result_of("twice", 2), "nothing");
  }
  EXPECT_EQ(result_of("twice", 2), "4.000000") << "the replaced function is back";
  EXPECT_EQ(result_of("thrice", 2), "Undefined function 'thrice'.");
}

}  // namespace
}  // namespace kestrel::standalone
