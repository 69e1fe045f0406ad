// Fields of the user's structures, the medium that they make, and the rule.

#include <cmath>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <string>

#include "kestrel/medium.h"
#include "kestrel/quadrature.h"
#include "mex/readers/structure_reader.h"
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
  EXPECT_EQ(outcome_of([&] { read_scalar(Value(), nullptr, "ndiv"); }).error,
            "Argument 'ndiv' must be a number, but it is empty.\n");
  EXPECT_EQ(outcome_of([&] { read_number(StructArray(3), "width", "transducer", 3); }).error,
            "Field 'width' of element 3 of the transducer is missing.\n");
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

constexpr const char* fields[] = {"soundspeed",          "density",
                                  "attenuationdBcmMHz",  "bloodperfusion",
                                  "specificheat",        "specificheatofblood",
                                  "thermalconductivity", "nonlinearityparameter",
                                  "powerlawexponent"};

/// A medium whose field number i (from 1) has the value i; the field `left_out` is missing.
StructArray medium_structure(const char* left_out = nullptr, std::size_t columns = 1) {
  StructArray structure(columns);
  for (std::size_t i = 0; i < std::size(fields); ++i) {
    if (fields[i] != left_out) structure.set(fields[i], static_cast<double>(i + 1));
  }
  return structure;
}

Medium medium_from(const mxArray* structure) { return Medium(&structure); }

TEST(MediumInput, EveryFieldGoesToItsProperty) {
  const Medium medium = medium_from(medium_structure(nullptr, 2));
  const double properties[] = {medium._soundspeed, medium._rho_density, medium._dBcmMHz,
                               medium._wb,         medium._ct,          medium._ctb,
                               medium._kappa,      medium._beta,        medium._b};
  for (std::size_t i = 0; i < std::size(fields); ++i) EXPECT_EQ(properties[i], i + 1) << fields[i];
  EXPECT_EQ(medium._f0, 0.0);
}

TEST(MediumInput, EveryFieldIsRequiredAndANumber) {
  const std::string no_medium =
      "Medium object is not structured correctly. Please see the documentation for the correct "
      "structure.";
  const auto error_of = [](const mxArray* structure) {
    return outcome_of([&] { medium_from(structure); }).error;
  };
  for (const char* field : fields) {
    StructArray structure = medium_structure(field);
    EXPECT_EQ(error_of(structure), no_medium) << field;
    structure.add_field(field);
    EXPECT_EQ(error_of(structure), std::string("Field '") + field +
                                       "' of the medium must be a number, but it is empty.\n");
  }
  // All fields are looked for before the first value is judged.
  StructArray structure = medium_structure("powerlawexponent");
  structure.set("soundspeed", Value(mxCreateCellMatrix(1, 1)));
  EXPECT_EQ(error_of(structure), no_medium);
  EXPECT_EQ(error_of(Value::scalar(1.0)), no_medium);
}

TEST(MediumInput, ReadsTextByTheCodeOfItsFirstCharacter) {
  StructArray structure = medium_structure();
  structure.set("specificheat", "xyz");
  EXPECT_EQ(medium_from(structure)._ct, 120.0);
  structure.set("specificheat", "");
  EXPECT_EQ(outcome_of([&] { medium_from(structure); }).error,
            "Field 'specificheat' of the medium must be a number, but it is empty.\n");
}

TEST(MediumInput, PrintsItsProperties) {
  Medium medium = medium_from(medium_structure());
  medium._f0 = 1e6;
  EXPECT_EQ(outcome_of([&] { medium.mexDebug(); }).printed,
            "f0 (_f0): 1000000.000000\n"
            "fs (_fs): 0.000000\n"
            "soundspeed (_soundspeed): 1.000000\n"
            "attenuation (_dBcmMHz): 3.000000\n"
            "power law coefficient (_powerlawcoeff): 0.000000\n"
            "density (_rho_density): 2.000000\n"
            "specific heat(_ct): 5.000000\n"
            "blood perfusion (_wb): 4.000000\n"
            "power law exponent (_b): 9.000000\n"
            "thermal conductivity (_kappa): 7.000000\n"
            "nonlinearity param (_beta): 8.000000\n");
}

TEST(RuleInput, NeedsAtLeastOneNode) {
  NumericalIntegration rule;
  rule.allocate_memory(2);
  rule.midpoint_rule();
  for (const int n : {0, -7}) {
    const Outcome outcome = outcome_of([&] { rule.allocate_memory(n); });
    EXPECT_EQ(outcome.printed, "Illegal number of abscissas " + std::to_string(n) + "\n");
    EXPECT_EQ(outcome.error, "Specified number of abscissas is less than 1.\n");
  }
  EXPECT_EQ(rule.get_npoints(), 2);
  EXPECT_EQ(rule.get_abscissa(1), 0.5);
}

TEST(RuleInput, HoldsFiveBlocksHoweverOftenItIsAllocated) {
  const standalone::Live before = standalone::live();
  {
    NumericalIntegration rule;
    for (int n = 1; n <= 5; ++n) rule.allocate_memory(n);
    EXPECT_EQ(standalone::live().blocks, before.blocks + 5);
    const standalone::AllocationLimit three_arrays(3);
    EXPECT_FALSE(rule.allocate_memory(6));
    EXPECT_EQ(rule.get_npoints(), 5);
  }
  EXPECT_EQ(standalone::live(), before);
}

}  // namespace
}  // namespace kestrel
