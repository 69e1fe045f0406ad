// The compiled entry behind kestrel.transient_field, as the interpreter calls it.

#include <gtest/gtest.h>

#include "tests/support/allocation_sweep.h"
#include "tests/support/entry_arguments.h"

namespace kestrel::test {
namespace {

using standalone::CallResult;

CallResult compute(const mxArray* array, const mxArray* points, const mxArray* time,
                   const mxArray* excitation, const mxArray* settings, double ndiv = 8) {
  const Value nodes = Value::scalar(ndiv);
  return standalone::call(mexFunction, 2,
                          {array, points, water(), time, nodes, excitation, settings});
}

TEST(TransientFieldEntry, AnswersWithTimeAsTheLastDimension) {
  const StructArray axis = time_axis(0, 8e-6, 1e-6);
  const CallResult result =
      compute(elements("rect", 2), regular_points(3, 2), axis, pulse(2), options("fnm_transient"));
  ASSERT_EQ(result.error, std::nullopt);
  const mwSize* size = mxGetDimensions(result.output());
  EXPECT_EQ((std::vector<mwSize>{size, size + 4}), (std::vector<mwSize>{3, 1, 2, 9}));
  EXPECT_EQ(mxGetScalar(mxGetField(result.output(1), 0, "result_memory")), 3 * 2 * 9 * 8);
  const CallResult list =
      compute(elements("rect", 2), listed_points(), listed_times(), samples(), options("fnm_tsd"));
  ASSERT_EQ(list.error, std::nullopt);
  EXPECT_EQ(mxGetM(list.output()), 2U);
  EXPECT_EQ(mxGetN(list.output()), 4U);
  EXPECT_EQ(list.printed, "");
}

// One tile takes minutes.
TEST(TransientFieldEntry, AnInterruptEndsItWithinATile) {
  const standalone::RegisteredFunction interrupt(
      "pause(0);", [](int, mxArray**, int, const mxArray**) { mexErrMsgTxt("interrupt"); });
  const StructArray axis = time_axis(0, 40e-6, 0.1e-6);
  EXPECT_EQ(compute(elements("circ", 1), regular_points(10, 10), axis, pulse(2),
                    options("rayleigh_transient"), 2000)
                .error,
            "kestrel.transient_field: The calculation was cancelled.");
}

// A pulse, a sampled signal, which is transformed by the host, and a march.
TEST(TransientFieldEntry, EveryAllocationMayFail) {
  const StructArray axis = time_axis(0, 40e-6, 2e-6), points = regular_points(3, 2, 10e-3),
                    medium = water();
  const Value nodes = Value::scalar(4);
  struct Case {
    StructArray array, excitation, settings;
  };
  const Case cases[] = {
      {elements("rect", 2), pulse(2), options("fnm_transient")},
      {elements("circ", 2), samples(), options("fnm_tsd")},
      {elements("circ", 1), samples(), options("fnm_fdtsd", 1)},
      {elements("shel", 2, 0.1), samples(), march_options("kzk_transient")},
  };
  for (const Case& c : cases) {
    EXPECT_GT(fail_every_allocation(
                  mexFunction, 2, {c.array, points, medium, axis, nodes, c.excitation, c.settings}),
              20);
  }
}

}  // namespace
}  // namespace kestrel::test
