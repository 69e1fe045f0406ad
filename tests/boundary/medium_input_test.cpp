#include <gtest/gtest.h>
#include <iterator>
#include <string>

#include "inputs/medium.h"
#include "tests/boundary/outcome.h"

namespace kestrel {
namespace {

using standalone::Capture;
using standalone::StructArray;
using standalone::Value;

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
  structure.set("soundspeed", "fast");
  EXPECT_EQ(error_of(structure), no_medium);
  EXPECT_EQ(error_of(Value::scalar(1.0)), no_medium);
}

TEST(MediumInput, PrintsItsProperties) {
  Medium medium = medium_from(medium_structure());
  medium._f0 = 1e6;
  const Capture capture;
  medium.mexDebug();
  EXPECT_EQ(capture.printed(),
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

}  // namespace
}  // namespace kestrel
