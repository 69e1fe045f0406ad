// The compiled entry behind kestrel.cw_field and kestrel.harmonics, as the interpreter calls it.

#include <complex>
#include <gtest/gtest.h>

#include "mex/entries/entry_support.h"
#include "mex/standalone/standalone_host.h"
#include "tests/support/allocation_sweep.h"
#include "tests/support/entry_arguments.h"

namespace kestrel::test {
namespace {

using standalone::call;
using standalone::CallResult;
using standalone::RegisteredFunction;

CallResult compute(const mxArray* array, const mxArray* points, const mxArray* settings,
                   double ndiv = 8, int nlhs = 2) {
  const Value nodes = Value::scalar(ndiv), frequency = Value::scalar(1e6);
  return call(mexFunction, nlhs, {array, points, water(), nodes, frequency, settings});
}

std::string text(const mxArray* structure, const char* field) {
  char buffer[64] = "";
  mxGetString(mxGetField(structure, 0, field), buffer, sizeof buffer);
  return buffer;
}

std::vector<mwSize> size_of(const mxArray* array) {
  const mwSize* size = mxGetDimensions(array);
  return {size, size + mxGetNumberOfDimensions(array)};
}

double number(const mxArray* structure, const char* field) {
  return mxGetScalar(mxGetField(structure, 0, field));
}

TEST(ArrayFieldEntry, AnswersInTheShapeOfTheGridAndTellsWhatItDid) {
  for (const std::size_t rows : {1, 2, 4}) {
    const CallResult result =
        compute(elements("rect", 4, 1, rows), regular_points(3, 2), options());
    ASSERT_EQ(result.error, std::nullopt);
    EXPECT_EQ(size_of(result.output()), (std::vector<mwSize>{3, 1, 2}));
    EXPECT_TRUE(mxIsComplex(result.output()));
    EXPECT_NE(mxGetComplexDoubles(result.output())[0].real, 0.0);
    const mxArray* info = result.output(1);
    EXPECT_EQ(text(info, "method"), "fnm_cw");
    EXPECT_EQ(text(info, "way"), "direct");
    EXPECT_EQ(number(info, "nodes"), 8.0);
    EXPECT_EQ(number(info, "threads"), 2.0);
    EXPECT_EQ(number(info, "result_memory"), 3 * 2 * 16);
  }
  const CallResult empty = compute(StructArray(0, 0), regular_points(3, 2), options());
  ASSERT_EQ(empty.error, std::nullopt);
  EXPECT_EQ(mxGetComplexDoubles(empty.output())[0].real, 0.0);
}

StructArray shells(double amplitude = 0.1) { return elements("shel", 1, amplitude); }

StructArray march(const char* field = "harmonics", double value = 8) {
  StructArray kzk, settings = options("kzk_cw");
  kzk.set(field, value);
  return std::move(settings.set("kzk", Value(kzk.release())));
}

TEST(HarmonicsEntry, AnswersAlongOneMoreDimension) {
  const StructArray points = listed_points();
  StructArray settings = march();
  settings.set("wanted", Value::row({1, 3}));
  const CallResult regular = compute(shells(), regular_points(3, 2), settings);
  ASSERT_EQ(regular.error, std::nullopt);
  EXPECT_EQ(size_of(regular.output()), (std::vector<mwSize>{3, 1, 2, 2}));
  const mxArray* info = regular.output(1);
  EXPECT_EQ(text(info, "way"), "march");
  EXPECT_EQ(number(info, "harmonics"), 8.0);
  EXPECT_GT(number(info, "planes"), 4.0);
  const CallResult list = compute(shells(), points, settings);
  ASSERT_EQ(list.error, std::nullopt);
  EXPECT_EQ(size_of(list.output()), (std::vector<mwSize>{2, 2}));

  // The second column is what the march delivers alone when it is named.
  StructArray third = march("harmonic", 3);
  const CallResult alone = compute(shells(), points, third);
  ASSERT_EQ(alone.error, std::nullopt);
  EXPECT_NEAR(mxGetComplexDoubles(alone.output())[1].real,
              mxGetComplexDoubles(list.output())[3].real,
              1e-3 * std::abs(mxGetComplexDoubles(list.output())[3].real));
}

TEST(HarmonicsEntry, NamesWhatIsWrongWithAMarch) {
  const auto refused = [](const char* expected, StructArray settings, const StructArray& array,
                          const char* caller = "kestrel.harmonics: ") {
    const CallResult result = compute(array, regular_points(3, 2), settings);
    const std::string found = result.error.value_or("no error");
    EXPECT_EQ(found.rfind(caller, 0), 0U) << found;
    EXPECT_NE(found.find(expected), std::string::npos) << found;
  };
  const auto wanted = [](Value numbers, StructArray settings = march()) {
    return std::move(settings.set("wanted", std::move(numbers)));
  };
  refused("a harmonic must be a whole number of at least 1, but one is 1.5",
          wanted(Value::row({1, 1.5})), shells());
  refused("the list of harmonics is empty", wanted(Value::zeros(1, 0)), shells());
  refused("harmonic 9 was asked for, but the march carries the harmonics 1 to 8",
          wanted(Value::row({9})), shells());
  refused("names a harmonic, but the list of harmonics says which",
          wanted(Value::row({1}), march("harmonic", 2)), shells());
  refused(
      "the option 'kzk' has a field 'harmonic_number'; what it may have is step, radial_step, "
      "radius, harmonics, harmonic.",
      march("harmonic_number", 2), shells(), "kestrel.cw_field: ");
  refused("the option 'kzk': harmonics must be a whole number, but it is 2.5",
          march("harmonics", 2.5), shells(), "kestrel.cw_field: ");
  refused("must be one structure", std::move(options().set("kzk", 3.0)), shells(),
          "kestrel.cw_field: ");
  refused(
      "element 1: the method 'kzk_cw' failed. The nonlinear march blew up; the drive is too "
      "strong.",
      march(), shells(1e9), "kestrel.cw_field: ");
}

TEST(ArrayFieldEntry, NamesWhatIsWrong) {
  const auto refused = [](const char* expected, const StructArray& array,
                          const StructArray& settings = options(), double ndiv = 8) {
    const CallResult result = compute(array, regular_points(3, 2), settings, ndiv);
    const std::string found = result.error.value_or("no error");
    EXPECT_EQ(found.rfind("kestrel.cw_field: ", 0), 0U) << found;
    EXPECT_NE(found.find(expected), std::string::npos) << found;
  };
  const auto with = [](const char* field, auto value) {
    StructArray array = elements("rect", 3);
    array.set(field, std::move(value), 1);
    return array;
  };
  const auto option = [](const char* name, auto value) {
    StructArray settings = options();
    settings.set(name, value);
    return settings;
  };
  refused("element 2: the shape must be one of 'rect', 'circ', 'ring', 'shel', 'sph ring'.",
          with("shape", "oval"));
  refused("element 2: width must be positive", with("width", -1.0));
  refused("element 2: center must be three real, finite doubles", with("center", 1.0));
  refused("complex_weight", with("complex_weight", 1.0));
  refused("unknown method 'nearly'; the methods are 'farfield_cw', 'fnm_cw'", elements("rect", 3),
          option("method", "nearly"));
  refused("the option 'method' must be text", elements("rect", 3), option("method", 1.0));
  refused("unknown instruction set 'mmx'; there are", elements("rect", 3),
          option("instruction_set", "mmx"));
  refused("ndiv must be a whole number", elements("rect", 3), options(), 0.5);
  refused("element 1: the shape 'rect' has no method 'fnm_cw_apodized'", elements("rect", 3),
          option("method", "fnm_cw_apodized"));
  StructArray placeless;
  placeless.set("shape", "rect");
  refused("the array lacks the field 'center'", placeless);
  // Amplitude and apodization may be declared and left empty in one element: an error, not a guess.
  refused("element 2: amplitude must be one real, finite number", with("amplitude", Value()));
  refused("element 1: apodization_index must be one", with("apodization_index", 2.5));
  StructArray half = elements("rect", 3);
  for (std::size_t i = 0; i < 3; ++i) half.set("apodization_index", 2.5, i);
  refused("element 1: apodization_index must be 0", half);
}

TEST(ArrayFieldEntry, WarnsOfValuesThatAreNotFinite) {
  StructArray medium = water();
  medium.set("attenuationdBcmMHz", std::nan(""));
  const Value nodes = Value::scalar(4), frequency = Value::scalar(1e6);
  const CallResult result =
      call(mexFunction, 1,
           {elements("rect", 1), regular_points(3, 2), medium, nodes, frequency, options()});
  ASSERT_EQ(result.warnings.size(), 1U);
  EXPECT_NE(result.warnings[0].find("6 of 6 pressures are NaN or Inf, the first at point 1, (0, 0, "
                                    "0.001) m"),
            std::string::npos)
      << result.warnings[0];
}

TEST(Progress, TellsTheShareAndTheTotal) {
  gateway::ProgressLines lines;
  // Planning takes eight seconds, the work a hundred; what begins is not judged at once.
  EXPECT_EQ(lines.next(1, 0), "");
  EXPECT_EQ(lines.next(4, 0), "  0 %, 4 s so far");
  EXPECT_EQ(lines.next(7.9, 0), "");
  EXPECT_EQ(lines.next(8, 0), "  0 %, 8 s so far");
  EXPECT_EQ(lines.next(8.5, 0.005), "");
  EXPECT_EQ(lines.next(9, fields::kBegun), "");
  EXPECT_EQ(lines.next(10, 0.02), "  2 %, 98 s left of about 100 s");
  EXPECT_EQ(lines.next(13, 0.05), "");
  EXPECT_EQ(lines.next(33, 0.25), " 25 %, 75 s left of about 100 s");
  // Work of a few seconds passes without a word.
  gateway::ProgressLines few;
  for (double t = 0; t < 5; t += 0.1) EXPECT_EQ(few.next(t, t / 5), "");
}

TEST(ArrayFieldEntry, AnInterruptEndsIt) {
  const RegisteredFunction interrupt(
      "pause(0);", [](int, mxArray**, int, const mxArray**) { mexErrMsgTxt("interrupt"); });
  // Work for a minute, were it not ended.
  const CallResult result =
      compute(elements("rect", 400), regular_points(300, 300), options(), 500);
  EXPECT_EQ(result.error, "kestrel.cw_field: The calculation was cancelled.");
  // One tile of these takes minutes: the rule, the sum over the face.
  const std::string cancelled = "kestrel.cw_field: The calculation was cancelled.";
  EXPECT_EQ(compute(elements("rect", 1), regular_points(3, 2), options(), 1e6).error, cancelled);
  StructArray sum = options();
  sum.set("method", "rayleigh_cw");
  EXPECT_EQ(compute(elements("rect", 1), regular_points(60, 60), sum, 10000).error, cancelled);
  const CallResult marched = compute(shells(), regular_points(3, 2), march("radial_step", 0.0006));
  EXPECT_EQ(marched.error, "kestrel.cw_field: The calculation was cancelled.");
}

// By one method directly and by reuse, with the estimate of the error; the march of four threads.
TEST(ArrayFieldEntry, EveryAllocationMayFail) {
  const StructArray medium = water(), points = regular_points(5, 3, 10e-3);
  const Value nodes = Value::scalar(4), none = Value::zeros(0, 0), frequency = Value::scalar(1e6);
  const auto sweep = [&](const StructArray& array, const StructArray& settings,
                         const mxArray* ndiv) {
    EXPECT_GT(
        fail_every_allocation(mexFunction, 2, {array, points, medium, ndiv, frequency, settings}),
        20);
  };
  sweep(elements("circ", 2), options("fnm_cw"), nodes);
  StructArray tolerance = options("fnm_cw");
  tolerance.set("tolerance", 1e-3);
  StructArray row = elements("rect", 6);
  for (std::size_t i = 0; i < 6; ++i) row.set("euler", {0.0, 0.0, 0.0}, i);
  sweep(row, tolerance, none);
  StructArray harmonics = march_options("kzk_cw", 4);
  harmonics.set("wanted", Value::row({1, 2}));
  sweep(elements("shel", 1, 0.1), harmonics, nodes);
  sweep(elements("shel", 2, 0.1), harmonics, nodes);
}

}  // namespace
}  // namespace kestrel::test
