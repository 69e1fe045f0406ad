#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "inputs/structure_reader.h"
#include "tests/boundary/outcome.h"

namespace kestrel {
namespace {

using standalone::StructArray;
using standalone::Value;

TEST(ReadScalar, TakesTheFirstRealPartOfAnyNumericOrLogicalValue) {
  EXPECT_EQ(read_scalar(Value::scalar(2.5), "medium", "density"), 2.5);
  EXPECT_EQ(read_scalar(Value::row({3.0, 4.0}), "medium", "density"), 3.0);
  EXPECT_EQ(read_scalar(Value::complex_matrix(1, 1, {{5.0, 6.0}}), "medium", "density"), 5.0);
  EXPECT_EQ(read_scalar(Value::logical(true), "medium", "density"), 1.0);
  EXPECT_EQ(read_scalar(Value::zeros(1, 1, mxINT16_CLASS), "medium", "density"), 0.0);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(read_scalar(Value::scalar(nan), "medium", "density")));
}

TEST(ReadScalar, SaysWhatIsWrongAndWhere) {
  const auto error_of = [](const Value& value, int element) {
    return outcome_of([&] { read_scalar(value, "medium", "density", element); }).error;
  };
  const std::string empty = "Field 'density' of the medium must be a number, but it is empty.\n";
  EXPECT_EQ(error_of(Value(), 0), empty);
  EXPECT_EQ(error_of(Value::zeros(0, 0), 0), empty);
  EXPECT_EQ(error_of(Value(mxCreateCellMatrix(1, 1)), 3),
            "Field 'density' of element 3 of the medium must be a number, but it is of class "
            "cell.\n");
}

TEST(ReadRealDoubles, RefusesEveryOtherClass) {
  const auto expect_refused = [](const Value& value, const std::string& found) {
    EXPECT_EQ(outcome_of([&] { read_real_doubles(value, "transducer", "center", 2); }).error,
              "Field 'center' of element 2 of the transducer must be a full array of real doubles, "
              "but it is " +
                  found);
  };
  expect_refused(Value::zeros(1, 3, mxSINGLE_CLASS), "of class single.\n");
  expect_refused(Value::zeros(1, 3, mxINT32_CLASS), "of class int32.\n");
  expect_refused(Value::complex_matrix(1, 1, {{1.0, 1.0}}), "complex.\n");
  expect_refused(Value(mxCreateStructMatrix(1, 1, 0, nullptr)), "of class struct.\n");
  EXPECT_EQ(read_real_doubles(nullptr, "transducer", "center"), nullptr);
  EXPECT_EQ(read_real_doubles(Value::zeros(0, 3), "transducer", "center"), nullptr);
}

TEST(FieldLookup, SurvivesWhatIsNoStructure) {
  StructArray structure(2);
  structure.set("center", 1.0, 1);
  EXPECT_TRUE(has_field(structure, "center"));
  EXPECT_FALSE(has_field(structure, "euler"));
  EXPECT_EQ(field_value(structure, "center", 0), nullptr);  // declared, never set
  EXPECT_NE(field_value(structure, "center", 1), nullptr);
  EXPECT_EQ(field_value(structure, "center", 2), nullptr);
  EXPECT_EQ(field_value(structure, "center", -1), nullptr);

  StructArray none(0);
  none.add_field("center");
  EXPECT_FALSE(has_field(none, "center"));
  EXPECT_FALSE(has_field(Value::scalar(1.0), "center"));
  EXPECT_FALSE(has_field(nullptr, "center"));
}

}  // namespace
}  // namespace kestrel
