// The compiled entry behind the functions that lay out and weigh arrays, as the interpreter calls
// it.

#include <gtest/gtest.h>

#include "kestrel/geometry.h"
#include "tests/support/allocation_sweep.h"
#include "tests/support/entry_arguments.h"

namespace kestrel::test {
namespace {

using standalone::CallResult;

constexpr const char* kLayouts[] = {"linear_array",  "planar_array", "curved_array",
                                    "annular_array", "bowl_array",   "from_positions"};
constexpr const char* kWorks[] = {"focus", "steer", "apodize", "focus_delays", "plane_wave_delays",
                                  "aim",   "faces"};

CallResult lay_out(const char* name, const mxArray* arguments) {
  return standalone::call(mexFunction, 1, {Value::text(name), arguments});
}

CallResult work(const char* name, int nlhs, const mxArray* arguments, const mxArray* array) {
  return standalone::call(mexFunction, nlhs, {Value::text(name), arguments, array});
}

TEST(ArraysEntry, TellsTheShapesAndTheirFaces) {
  const CallResult shapes = lay_out("shapes", StructArray());
  ASSERT_EQ(shapes.error, std::nullopt);
  mwIndex index = 0;
  for_each_shape([&](const auto& shape) {
    const char* name = shape.kFacts.name;
    char text[16] = "";
    mxGetString(mxGetField(shapes.output(), index, "name"), text, sizeof text);
    EXPECT_STREQ(text, name);
    const mxArray* sizes = mxGetField(shapes.output(), index++, "sizes");
    ASSERT_EQ(mxGetNumberOfElements(sizes), shape.sizes().size());
    mxGetString(mxGetCell(sizes, 0), text, sizeof text);
    EXPECT_STREQ(text, shape.sizes()[0].first);

    const CallResult faces = work("faces", 3, StructArray(), elements(name, 2));
    ASSERT_EQ(faces.error, std::nullopt);
    EXPECT_EQ(numbers_of(faces.output(0)).size(), 2U);
    EXPECT_GT(numbers_of(faces.output(1))[1], 0.0);
  });
  EXPECT_EQ(mxGetNumberOfElements(shapes.output()), index);
  EXPECT_EQ(numbers_of(work("faces", 1, StructArray(), elements("rect", 1)).output()),
            std::vector<double>{1e-3 * 2e-3});
}

TEST(ArraysEntry, RefusesByTheNameOfTheUsersFunction) {
  StructArray arguments = layout_arguments("bowl_array");
  arguments.set("apodization_index", 1e300);
  EXPECT_EQ(lay_out("bowl_array", arguments).error,
            "kestrel.bowl_array: apodization_index must be a whole number, but it is 1e+300.");
  StructArray windows = work_arguments("apodize");
  windows.set("window", Value(mxCreateCellMatrix(1, 2)));
  EXPECT_EQ(work("apodize", 1, windows, elements("rect", 2)).error,
            "kestrel.apodize: a window is missing.");
  EXPECT_EQ(lay_out("steer", arguments).error, "kestrel.steer: there is no such function.");
  EXPECT_EQ(work("faces", 4, arguments, elements("rect", 2)).error,
            "kestrel.faces: there are only 3 results.");
}

TEST(ArraysEntry, EveryAllocationMayFail) {
  const auto sweep = [](const char* name, int nlhs, std::vector<const mxArray*> arguments) {
    SCOPED_TRACE(name);
    const Value text = Value::text(name);
    arguments.insert(arguments.begin(), text);
    EXPECT_GT(fail_every_allocation(mexFunction, nlhs, arguments), 5);
  };
  for (const char* name : kLayouts) sweep(name, 1, {layout_arguments(name)});
  sweep("shapes", 1, {StructArray()});
  const StructArray array = elements("ring", 2);
  for (const char* name : kWorks) sweep(name, 3, {work_arguments(name), array});
}

}  // namespace
}  // namespace kestrel::test
