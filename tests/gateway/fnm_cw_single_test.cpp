// The plug-in fnm_cw_single as an interpreter calls it: messages and their order, which element is
// computed where, shapes of results, and that nothing is left behind on any path.

#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "kestrel/elements.h"
#include "kestrel/error.h"
#include "mex/entries/compute_element.h"
#include "mex/standalone/standalone_host.h"
#include "tests/support/allocation_sweep.h"
#include "tests/support/situation.h"

extern "C" void mexfilerequiredapiversion(unsigned int* built_by, unsigned int* required);

namespace kestrel::test {
namespace {

using standalone::AllocationLimit;
using standalone::call;
using standalone::CallResult;
using standalone::StructArray;
using standalone::Value;

/// Five elements that differ in everything.
Situation element(int i) {
  Situation s;
  s.a = 2e-3 + 0.5e-3 * i;
  s.b = 5e-3 - 0.7e-3 * i;
  s.amplitude = 1 + 0.3 * i;
  s.phase = 0.4 * i;
  s.center = {3e-3 * i, -1e-3 * i, 0.5e-3 * i};
  s.euler = {0.1 * i, -0.2 * i, 0.3 * i};
  s.medium._dBcmMHz = 0.5;
  s.nodes = 7;
  return s;
}

StructArray transducers(int n) {
  StructArray array(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) {
    const Situation s = element(i);
    const auto k = static_cast<std::size_t>(i);
    array.set("shape", "rect", k).set("width", s.a, k).set("height", s.b, k);
    array.set("radius", 2e-3, k);
    array.set("center", {s.center.x, s.center.y, s.center.z}, k);
    array.set("euler", {s.euler.x, s.euler.y, s.euler.z}, k);
    array.set("amplitude", s.amplitude, k).set("phase", s.phase, k);
  }
  return array;
}

const Points kPoints = {
    {0, 0, 10e-3}, {4e-3, 1e-3, 20e-3}, {-3e-3, 2e-3, 8e-3}, {0, 0, -5e-3}, {1e-3, 0, 60e-3}};

StructArray point_list() {
  std::vector<double> columns;
  for (const Point p : kPoints) columns.push_back(p.x);
  for (const Point p : kPoints) columns.push_back(p.y);
  for (const Point p : kPoints) columns.push_back(p.z);
  StructArray grid;
  grid.set("coordinates", Value::matrix(kPoints.size(), 3, columns));
  return grid;
}

StructArray regular_grid() {
  StructArray grid;
  grid.set("xmin", -1e-3).set("xmax", 1e-3).set("ymin", 0.0).set("ymax", 0.0);
  grid.set("zmin", 5e-3).set("zmax", 9e-3).set("delta", {1e-3, 1e-3, 1e-3});
  return grid;
}

StructArray medium() {
  StructArray medium;
  for (const char* field : {"bloodperfusion", "specificheat", "specificheatofblood",
                            "thermalconductivity", "nonlinearityparameter", "powerlawexponent"}) {
    medium.set(field, 0.0);
  }
  medium.set("soundspeed", 1500.0).set("density", 1000.0).set("attenuationdBcmMHz", 0.5);
  return medium;
}

/// The arguments of one call, good until something is spoiled.
struct Arguments {
  StructArray elements = transducers(2), grid = point_list(), water = medium();
  Value ndiv = Value::scalar(7), frequency = Value::scalar(1e6), flag, seventh = Value::scalar(0);
  /// Stands in for an argument where it is not null.
  Value replacement[3];
  int nlhs = 1;
  std::size_t count = 5;

  CallResult run() const {
    const mxArray* all[] = {elements, grid, water, ndiv, frequency, flag, seventh};
    for (int i = 0; i < 3; ++i) {
      if (replacement[i] != nullptr) all[i] = replacement[i];
    }
    return call(mexFunction, nlhs, {all, all + count});
  }
};

std::vector<Complex> values(const mxArray* result) {
  std::vector<Complex> values;
  const mxComplexDouble* entries = mxGetComplexDoubles(result);
  for (std::size_t i = 0; i < mxGetNumberOfElements(result); ++i) {
    values.emplace_back(entries[i].real, entries[i].imag);
  }
  return values;
}

/// Spoils everything, then repairs one thing after the other: each message once, in its order.
TEST(Messages, ComeInTheOrderOfTheChecks) {
  Arguments a;
  a.nlhs = 0;
  a.count = 4;
  for (Value& r : a.replacement) r = Value::scalar(1);
  a.grid = StructArray();
  a.water = StructArray();
  a.ndiv = Value::text("seven");
  a.frequency = Value::complex_matrix(1, 1, {{1e6, 0}});
  a.flag = Value::scalar(1);
  a.elements.set("shape", 3.0, 1).set("complex_weight", 1.0, 1);
  for (const char* field : {"amplitude", "width", "center", "euler"}) {
    a.elements.set(field, Value(), 1);
  }

  const char* const wrong_count =
      "This function requires at least 5 and no more than 6 arguments. See the documentation for "
      "details.\n";
  const char* const unreadable = "Unable to read transducer shape, abort.\n";
  const auto repair = [&a](const char* field, auto value) {
    return [&a, field, value] { a.elements.set(field, value, 1); };
  };
  struct Step {
    const char* error;
    std::function<void()> repair;
    const char* printed = "";
  };
  const Step steps[] = {
      {"This function requires exactly one output parameter.\n", [&] { a.nlhs = 1; }},
      {wrong_count, [&] { a.count = 7; }},
      {wrong_count, [&] { a.count = 6; }},
      {"Transducer array must be a MATLAB structure.\n", [&] { a.replacement[0] = Value(); }},
      {"Coordinate grid must be a MATLAB structure.\n", [&] { a.replacement[1] = Value(); }},
      {"The required Matlab structure is generated by set_coordinate_grid - see the documentation "
       "or the online help for details\n",
       [&] { a.grid = point_list(); },
       "Expecting 'coordinates' or 'xmin', but neither of these fields are defined\n"},
      {"Medium must be a MATLAB structure.\n", [&] { a.replacement[2] = Value(); }},
      {"Medium object is not structured correctly. Please see the documentation for the correct "
       "structure.",
       [&] { a.water = medium(); }},
      {"ndiv must be an integer.\n", [&] { a.ndiv = Value::logical(true); }},
      {"ndiv must be an integer.\n", [&] { a.ndiv = Value::scalar(0.9); }},
      {"Frequency must a real number.\n", [&] { a.frequency = Value::text("f"); }},
      {"Frequency must a real number.\n", [&] { a.frequency = Value::scalar(1e6); }},
      {"Specified number of abscissas is less than 1.\n", [&] { a.ndiv = Value::scalar(7); },
       "Illegal number of abscissas 0\n"},
      {"Field 'amplitude' of element 2 of the transducer must be a number, but it is empty.\n",
       repair("amplitude", 1.0)},
      {unreadable, repair("shape", "ten chars!")},
      {unreadable, repair("shape", "circle")},
      {"Invalid transducer shape identifier.\n", repair("shape", "rect"),
       "*** circle is not a valid transducer shape (element 2) ***\n"},
      {"Field 'width' of element 2 of the transducer must be a number, but it is empty.\n",
       repair("width", 1e-3)},
      {"Field 'center' of element 2 of the transducer must have 3 entries.\n",
       [&] {
         a.elements.set("center", Value::row({0, 0, 0}), 1);
       }},
      {"Field 'euler' of element 2 of the transducer must have 3 entries.\n",
       [&] {
         a.elements.set("euler", Value::row({0, 0, 0}), 1);
         a.elements.set("shape", "ring", 1).set("inner_radius", Value(), 1);
         a.elements.set("outer_radius", Value(), 1);
       }},
      {"Field 'inner_radius' of element 2 of the transducer must be a number, but it is empty.\n",
       repair("inner_radius", 1e-3)},
      {"Field 'outer_radius' of element 2 of the transducer must be a number, but it is empty.\n",
       repair("outer_radius", 2e-3)},
      {"KESTREL no longer uses the complex_weight property. Please use phase and amplitude "
       "instead.",
       [&] {
         a.elements = transducers(2);
         a.elements.set("shape", "circ", 0);
       }},
      {"This function is not implemented for this transducer shape.",
       [&] { a.elements = transducers(2); }},
  };
  bool flag_was_looked_at = false;
  for (const Step& step : steps) {
    const CallResult result = a.run();
    EXPECT_EQ(result.error, step.error);
    EXPECT_EQ(result.error_identifier, "kestrel:fnm_cw_single");
    EXPECT_EQ(result.printed, step.printed) << step.error;
    EXPECT_EQ(result.output(), nullptr);
    // After the rule, before the elements.
    flag_was_looked_at |= std::string(step.error).find("amplitude") != std::string::npos;
    EXPECT_EQ(result.warnings.size(), flag_was_looked_at ? 1U : 0U) << step.error;
    step.repair();
  }
  const CallResult result = a.run();
  EXPECT_EQ(result.error, std::nullopt);
  EXPECT_EQ(result.warnings,
            std::vector<std::string>{"The use of the display flag was deprecated.\n"});
}

TEST(Messages, ShapeTextsMatchToTheLetter) {
  for (const char* shape : {"Rect", "rect ", "rec", "", "circ2", "sphring", "sph  ring", "shell"}) {
    Arguments a;
    a.elements.set("shape", shape, 0);
    const CallResult result = a.run();
    EXPECT_EQ(result.error, "Invalid transducer shape identifier.\n") << shape;
    EXPECT_EQ(result.printed,
              "*** " + std::string(shape) + " is not a valid transducer shape (element 1) ***\n");
  }
  // The others exist, but have no such method.
  for (const char* shape : {"circ", "ring", "shel", "sph ring"}) {
    Arguments a;
    a.elements.set("shape", shape, 0).set("inner_radius", 1e-3, 0).set("outer_radius", 2e-3, 0);
    a.elements.set("rad_curvature", 9e-3, 0).set("geometric_focus", 9e-3, 0);
    EXPECT_EQ(a.run().error, "This function is not implemented for this transducer shape.")
        << shape;
  }
}

TEST(Messages, UndefinedInputsAreNamed) {
  const auto field = [](const char* name, std::size_t element, auto make) {
    return [=](Arguments& a) { a.elements.set(name, make(), element); };
  };
  const auto singles = [] { return Value::zeros(1, 3, mxSINGLE_CLASS); };
  const auto complex = [] { return Value::complex_matrix(1, 3, {1, 2, 3}); };
  const struct {
    const char* named;
    std::function<void(Arguments&)> spoil;
  } cases[] = {
      {"'height' of element 1", field("height", 0, [] { return "tall"; })},
      {"'phase' of element 2", field("phase", 1, [] { return Value::zeros(0, 0); })},
      {"'center' of element 2", field("center", 1,
                                      [] {
                                        return Value::row({1, 2});
                                      })},
      // No element of these has the field.
      {"Field 'inner_radius' of element 1 of the transducer is missing.\n",
       field("shape", 0, [] { return "ring"; })},
      {"Field 'euler' of element 1 of the transducer is missing.\n",
       [](Arguments& a) {
         a.elements = StructArray();
         a.elements.set("shape", "circ").set("radius", 1e-3).set("center", {0, 0, 0});
       }},
      {"'center' of element 1", field("center", 0, singles)},
      {"'euler' of element 2", field("euler", 1, complex)},
      {"Argument 'ndiv' must be a number, but it is empty.\n",
       [](Arguments& a) { a.ndiv = Value::zeros(0, 0); }},
      {"ndiv must be a number that fits", [](Arguments& a) { a.ndiv = Value::scalar(kNan); }},
      {"ndiv must be a number that fits", [](Arguments& a) { a.ndiv = Value::scalar(2147483648); }},
      {"abscissas is less than 1", [](Arguments& a) { a.ndiv = Value::scalar(-2147483648.5); }},
      {"Argument 'frequency'", [](Arguments& a) { a.frequency = Value::zeros(0, 0); }},
  };
  for (const auto& c : cases) {
    Arguments a;
    c.spoil(a);
    const std::string error = a.run().error.value_or("");
    EXPECT_NE(error.find(c.named), std::string::npos) << c.named << ": " << error;
  }
}

TEST(Messages, DisplayFlagAndFrequencyWarnings) {
  // Numbers by their value, text by its first character; other classes warn, and nothing fails.
  std::pair<Value, std::size_t> flags[] = {{Value::scalar(0), 0},
                                           {Value::scalar(1), 1},
                                           {Value::scalar(-2), 1},
                                           {Value::scalar(kNan), 1},
                                           {Value::logical(true), 1},
                                           {Value::text("off"), 1},
                                           {Value::text(""), 0},
                                           {Value::zeros(0, 3), 0},
                                           {Value::zeros(2, 2), 0},
                                           {Value(mxCreateCellMatrix(0, 0)), 0},
                                           {Value(StructArray().release()), 1}};
  for (auto& [flag, warnings] : flags) {
    Arguments a;
    a.count = 6;
    const std::string what = mxGetClassName(flag);
    a.flag = std::move(flag);
    const CallResult result = a.run();
    EXPECT_EQ(result.error, std::nullopt) << what;
    EXPECT_EQ(result.warnings.size(), warnings) << what;
  }
  // Once per list position.
  Arguments a;
  a.elements = transducers(3);
  a.frequency = Value::scalar(0);
  EXPECT_EQ(
      a.run().warnings,
      std::vector<std::string>(3, "f0 not set; using default of 1 MHz to calculate wavelength."));
  a.frequency = Value::scalar(kNan);
  EXPECT_TRUE(a.run().warnings.empty());
}

/// An element whose method ends with a chosen code.
class Ending : public RectangularTransducer {
 public:
  explicit Ending(int code) : _code(code) {}
  int fnm_cw_single() override { return _code; }

 private:
  int _code;
};

// A call from outside meets the second of these alone.
TEST(Messages, EveryEndOfAnElementHasItsText) {
  const std::string other =
      "An unspecified error occurred. See this function's documentation for details.";
  const std::pair<int, std::string> ends[] = {
      {0, ""},
      {1, "This function is not implemented for this transducer shape."},
      {2, "Out of memory."},
      {3, other},
      {-1, other}};
  const auto error_of = [](Transducer* element) -> std::string {
    try {
      gateway::compute_element(element);
    } catch (const Error& error) {
      return error.what();
    }
    return "";
  };
  for (const auto& [code, text] : ends) {
    Ending element(code);
    EXPECT_EQ(error_of(&element), text) << code;
  }
  EXPECT_EQ(error_of(nullptr), "A transducer was not allocated.\n");
}

// Which object (geometry and drive) is computed in which element's place.
TEST(ElementList, KeepsItsPositions) {
  const std::vector<std::vector<std::pair<int, int>>> pairs = {
      {{0, 0}},
      {{0, 1}, {0, 1}},
      {{0, 1}, {0, 1}, {1, 2}},
      {{0, 3}, {0, 3}, {1, 2}, {0, 3}},
      {{0, 3}, {0, 3}, {1, 2}, {0, 3}, {2, 4}},
  };
  for (const auto& list : pairs) {
    std::vector<Complex> expected(kPoints.size());
    for (const auto& [object, place] : list) {
      Situation s = element(object);
      s.center = element(place).center;
      s.euler = element(place).euler;
      const auto one = field(s, &Transducer::fnm_cw_single, kPoints);
      for (std::size_t k = 0; k < expected.size(); ++k) expected[k] += one[k];
    }
    Arguments a;
    a.elements = transducers(static_cast<int>(list.size()));
    const CallResult result = a.run();
    ASSERT_EQ(result.error, std::nullopt);
    EXPECT_EQ(values(result.output()), expected) << list.size() << " elements";
  }
}

// The second element of a pair is made, but never computed; the second of three is.
TEST(ElementList, AShapeWithoutTheMethodFailsOnlyWhereItIsReached) {
  Arguments a;
  a.elements.set("shape", "circ", 1);
  EXPECT_EQ(a.run().error, std::nullopt);
  a.elements = transducers(3);
  a.elements.set("shape", "circ", 1);
  EXPECT_EQ(a.run().error, "This function is not implemented for this transducer shape.");
}

TEST(Results, HaveTheShapeOfTheGrid) {
  Arguments a;
  const auto expect = [&](const std::vector<std::size_t>& shape, const std::vector<Complex>& p) {
    const CallResult result = a.run();
    ASSERT_EQ(result.error, std::nullopt);
    const mxArray* output = result.output();
    const mwSize* dims = mxGetDimensions(output);
    EXPECT_EQ(std::vector<std::size_t>(dims, dims + mxGetNumberOfDimensions(output)), shape);
    EXPECT_TRUE(mxIsDouble(output) && mxIsComplex(output));
    EXPECT_EQ(values(output), p);
  };
  a.elements = transducers(1);
  expect({kPoints.size(), 1}, field(element(0), &Transducer::fnm_cw_single, kPoints));

  a.grid = regular_grid();
  Points points;  // x fastest
  for (int iz = 0; iz < 5; ++iz) {
    for (int ix = 0; ix < 3; ++ix) points.emplace_back(ix * 1e-3 - 1e-3, 0, iz * 1e-3 + 5e-3);
  }
  expect({3, 1, 5}, field(element(0), &Transducer::fnm_cw_single, points));
  a.elements = StructArray(1, 0);
  expect({3, 1, 5}, std::vector<Complex>(15));

  a.elements = transducers(2);
  a.grid = StructArray();
  a.grid.set("coordinates", Value::zeros(0, 3));
  expect({0, 1}, {});
}

TEST(Results, AmplitudeAndPhaseDefaultToOneAndZeroAndNdivIsTruncated) {
  Situation s = element(1);
  Arguments a;
  a.elements = StructArray();
  a.elements.set("shape", "rect").set("width", s.a).set("height", s.b);
  a.elements.set("center", {s.center.x, s.center.y, s.center.z});
  a.elements.set("euler", {s.euler.x, s.euler.y, s.euler.z});
  a.ndiv = Value::scalar(4.7);
  s.amplitude = 1;
  s.phase = 0;
  s.nodes = 4;
  EXPECT_EQ(values(a.run().output()), field(s, &Transducer::fnm_cw_single, kPoints));
}

TEST(Results, LongerCentresAndAnglesCountByTheirFirstThreeEntries) {
  Arguments plain, longer;
  longer.elements.set("center", {3e-3, -1e-3, 0.5e-3, 7, 8}, 1);
  longer.elements.set("euler", {0.1, -0.2, 0.3, 9}, 1);
  EXPECT_EQ(values(longer.run().output()), values(plain.run().output()));
}

// The blocks of the rule come after those of the grid and the two planes.
TEST(Release, ARuleThatFindsNoMemorySaysSo) {
  Arguments a;
  int said = 0;
  for (std::size_t granted = 0; granted < 40; ++granted) {
    const AllocationLimit limit(granted);
    said += a.run().error == "Ran out of memory while allocating integral object.\n";
  }
  EXPECT_EQ(said, 5);
}

// Each allocation of a call fails once, those of the interpreter and those of C++.
TEST(Release, EveryPathLeavesNothingBehind) {
  const auto fails = [](const Arguments& a) {
    const long before = objects_alive();
    char text[200] = "";  // not a string: it must not be alive either
    {
      const mxArray* all[] = {a.elements, a.grid, a.water, a.ndiv, a.frequency};
      const CallResult result = call(mexFunction, 1, {all, all + 5});
      if (result.error) std::snprintf(text, sizeof text, "%s", result.error->c_str());
    }
    EXPECT_EQ(objects_alive(), before) << text;
    return text[0] != '\0';
  };
  Arguments a;
  a.elements = transducers(5);
  a.run();  // what is made once per program

  EXPECT_FALSE(fails(a));
  a.elements.set("shape", "oval", 4);
  EXPECT_TRUE(fails(a));
  a.elements.set("shape", "circ", 4);
  a.elements.set("complex_weight", 1.0, 3);
  EXPECT_TRUE(fails(a));

  // The host's: the result, two planes, three tables of the rule, three of the grid; those of C++:
  // five elements, their lists, the tables of the method.
  a.elements = transducers(5);
  EXPECT_GE(
      fail_every_allocation(mexFunction, 1, {a.elements, a.grid, a.water, a.ndiv, a.frequency}),
      19);
}

// A rule of so many nodes takes minutes; the call ends at the first question after it has begun.
TEST(Interruption, EndsTheMakingOfTheRule) {
  int questions = 0;
  const standalone::RegisteredFunction interrupt("pause(0);",
                                                 [&](int, mxArray**, int, const mxArray**) {
                                                   ++questions;
                                                   mexErrMsgTxt("interrupt");
                                                 });
  Arguments a;
  a.ndiv = Value::scalar(1e6);
  EXPECT_EQ(a.run().error, "The calculation was cancelled.");
  EXPECT_EQ(questions, 1);
}

TEST(Version, IsTheOneOfInterleavedComplexValues) {
  unsigned int built_by = 0, required = 0;
  mexfilerequiredapiversion(&built_by, &required);
  EXPECT_EQ(built_by, 0x2023BU);
  EXPECT_EQ(required, 0x08000000U);
}

}  // namespace
}  // namespace kestrel::test
