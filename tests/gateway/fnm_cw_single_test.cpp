// The plug-in fnm_cw_single as an interpreter calls it: messages and their order, which element is
// computed where, shapes of results, and that nothing is left behind on any path.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "host/standalone/standalone_host.h"
#include "tests/support/situation.h"

extern "C" void mexfilerequiredapiversion(unsigned int* built_by, unsigned int* required);

// Every object of the program passes through here: none may outlive a call, and each allocation of
// a call can be made to fail.
namespace {

long objects_alive = 0;
long allocations_until_failure = -1;  // negative: none fails

void* allocate(std::size_t size, std::size_t alignment) {
  if (allocations_until_failure >= 0 && allocations_until_failure-- == 0) throw std::bad_alloc();
  void* block = std::aligned_alloc(alignment, (size + alignment) / alignment * alignment);
  if (block == nullptr) throw std::bad_alloc();
  ++objects_alive;
  return block;
}
void deallocate(void* block) {
  if (block != nullptr) --objects_alive;
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size, 16); }
void* operator new[](std::size_t size) { return allocate(size, 16); }
void* operator new(std::size_t size, std::align_val_t align) {
  return allocate(size, static_cast<std::size_t>(align));
}
void* operator new[](std::size_t size, std::align_val_t align) {
  return allocate(size, static_cast<std::size_t>(align));
}
void operator delete(void* block) noexcept { deallocate(block); }
void operator delete[](void* block) noexcept { deallocate(block); }
void operator delete(void* block, std::size_t) noexcept { deallocate(block); }
void operator delete[](void* block, std::size_t) noexcept { deallocate(block); }
void operator delete(void* block, std::align_val_t) noexcept { deallocate(block); }
void operator delete[](void* block, std::align_val_t) noexcept { deallocate(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { deallocate(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { deallocate(block); }

namespace kestrel::test {
namespace {

using standalone::AllocationLimit;
using standalone::call;
using standalone::CallResult;
using standalone::StructArray;
using standalone::Value;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

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

StructArray point_list(const Points& points = kPoints) {
  std::vector<double> columns;
  for (const Point p : points) columns.push_back(p.x);
  for (const Point p : points) columns.push_back(p.y);
  for (const Point p : points) columns.push_back(p.z);
  StructArray grid;
  grid.set("coordinates", Value::matrix(points.size(), 3, columns));
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
  a.elements.set("amplitude", Value(), 1).set("width", Value(), 1).set("center", Value(), 1);

  struct Step {
    const char* error;
    const char* printed;
    std::function<void()> repair;
  };
  const Step steps[] = {
      {"This function requires exactly one output parameter.\n", "", [&] { a.nlhs = 1; }},
      {"This function requires at least 5 and no more than 6 arguments. See the documentation for "
       "details.\n",
       "", [&] { a.count = 7; }},
      {"This function requires at least 5 and no more than 6 arguments. See the documentation for "
       "details.\n",
       "", [&] { a.count = 6; }},
      {"Transducer array must be a MATLAB structure.\n", "", [&] { a.replacement[0] = Value(); }},
      {"Coordinate grid must be a MATLAB structure.\n", "", [&] { a.replacement[1] = Value(); }},
      {"The required Matlab structure is generated by set_coordinate_grid - see the documentation "
       "or the online help for details\n",
       "Expecting 'coordinates' or 'xmin', but neither of these fields are defined\n",
       [&] { a.grid = point_list(); }},
      {"Medium must be a MATLAB structure.\n", "", [&] { a.replacement[2] = Value(); }},
      {"Medium object is not structured correctly. Please see the documentation for the correct "
       "structure.",
       "", [&] { a.water = medium(); }},
      {"ndiv must be an integer.\n", "", [&] { a.ndiv = Value::logical(true); }},
      {"ndiv must be an integer.\n", "", [&] { a.ndiv = Value::scalar(0.9); }},
      {"Frequency must a real number.\n", "", [&] { a.frequency = Value::text("f"); }},
      {"Frequency must a real number.\n", "", [&] { a.frequency = Value::scalar(1e6); }},
      {"Specified number of abscissas is less than 1.\n", "Illegal number of abscissas 0\n",
       [&] { a.ndiv = Value::scalar(7); }},
      {"Field 'amplitude' of element 2 of the transducer must be a number, but it is empty.\n", "",
       [&] { a.elements.set("amplitude", 1.0, 1); }},
      {"Unable to read transducer shape, abort.\n", "",
       [&] { a.elements.set("shape", "ten chars!", 1); }},
      {"Unable to read transducer shape, abort.\n", "",
       [&] { a.elements.set("shape", "circle", 1); }},
      {"Invalid transducer shape identifier.\n",
       "*** circle is not a valid transducer shape (element 2) ***\n",
       [&] { a.elements.set("shape", "rect", 1); }},
      {"Field 'width' of element 2 of the transducer must be a number, but it is empty.\n", "",
       [&] { a.elements.set("width", 1e-3, 1); }},
      {"Field 'center' of transducer element 2 must have 3 entries.\n", "",
       [&] {
         a.elements.set("center", {0, 0, 0}, 1);
       }},
      {"KESTREL no longer uses the complex_weight property. Please use phase and amplitude "
       "instead.",
       "",
       [&] {
         a.elements = transducers(2);
         a.elements.set("shape", "circ", 0);
       }},
      {"This function is not implemented for this transducer shape.", "",
       [&] { a.elements = transducers(2); }},
  };
  bool flag_was_looked_at = false;
  for (const Step& step : steps) {
    const CallResult result = a.run();
    EXPECT_EQ(result.error, step.error);
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
    a.elements.set("shape", shape, 0);
    for (const char* field : {"inner_radius", "outer_radius", "rad_curvature", "geometric_focus"}) {
      a.elements.set(field, 9e-3, 0);
    }
    EXPECT_EQ(a.run().error, "This function is not implemented for this transducer shape.")
        << shape;
  }
}

TEST(Messages, UndefinedInputsAreNamed) {
  struct Case {
    const char* named;
    std::function<void(Arguments&)> spoil;
  };
  const Case cases[] = {
      {"'height' of element 1", [](Arguments& a) { a.elements.set("height", "tall", 0); }},
      {"'phase' of element 2",
       [](Arguments& a) { a.elements.set("phase", Value::zeros(0, 0), 1); }},
      {"'center' of transducer element 2",
       [](Arguments& a) {
         a.elements.set("center", {1, 2}, 1);
       }},
      {"'center' of element 1",
       [](Arguments& a) { a.elements.set("center", Value::zeros(1, 3, mxSINGLE_CLASS), 0); }},
      {"'euler' of element 2",
       [](Arguments& a) {
         a.elements.set("euler", Value::complex_matrix(1, 3, {1, 2, 3}), 1);
       }},
      {"'ndiv'", [](Arguments& a) { a.ndiv = Value::zeros(0, 0); }},
      {"ndiv", [](Arguments& a) { a.ndiv = Value::scalar(kNan); }},
      {"ndiv", [](Arguments& a) { a.ndiv = Value::scalar(3e9); }},
      {"'frequency'", [](Arguments& a) { a.frequency = Value::zeros(0, 0); }},
      {"'soundspeed'", [](Arguments& a) { a.water.set("soundspeed", Value::zeros(0, 0)); }},
      {"'coordinates'", [](Arguments& a) { a.grid.set("coordinates", Value::zeros(4, 2)); }},
  };
  for (const Case& c : cases) {
    Arguments a;
    c.spoil(a);
    const CallResult result = a.run();
    ASSERT_NE(result.error, std::nullopt) << c.named;
    EXPECT_NE(result.error->find(c.named), std::string::npos) << *result.error;
  }
}

TEST(Messages, DisplayFlagAndFrequencyWarnings) {
  const std::pair<double, std::size_t> flags[] = {{0, 0}, {1, 1}, {-2, 1}, {kNan, 1}};
  for (const auto& [value, warnings] : flags) {
    Arguments a;
    a.count = 6;
    a.flag = Value::scalar(value);
    EXPECT_EQ(a.run().warnings.size(), warnings) << value;
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
  mxArray* result = nullptr;
  const auto shape = [&](const CallResult& r) {
    result = r.output();
    const mwSize* dims = mxGetDimensions(result);
    return std::vector<std::size_t>(dims, dims + mxGetNumberOfDimensions(result));
  };
  const CallResult list = a.run();
  EXPECT_EQ(shape(list), (std::vector<std::size_t>{kPoints.size(), 1}));
  EXPECT_TRUE(mxIsDouble(result) && mxIsComplex(result));

  a.elements = transducers(1);
  a.grid = regular_grid();
  const CallResult regular = a.run();
  EXPECT_EQ(shape(regular), (std::vector<std::size_t>{3, 1, 5}));
  Points points;  // x fastest
  for (int iz = 0; iz < 5; ++iz) {
    for (int ix = 0; ix < 3; ++ix) points.emplace_back(ix * 1e-3 - 1e-3, 0, iz * 1e-3 + 5e-3);
  }
  EXPECT_EQ(values(result), field(element(0), &Transducer::fnm_cw_single, points));

  a.elements = StructArray(1, 0);
  const CallResult silent = a.run();
  EXPECT_EQ(shape(silent), (std::vector<std::size_t>{3, 1, 5}));
  EXPECT_EQ(peak(values(result)), 0);
  EXPECT_TRUE(mxIsComplex(result));

  a.elements = transducers(2);
  a.grid = StructArray();
  a.grid.set("coordinates", Value::zeros(0, 3));
  const CallResult nowhere = a.run();
  ASSERT_EQ(nowhere.error, std::nullopt);
  EXPECT_EQ(shape(nowhere), (std::vector<std::size_t>{0, 1}));
}

TEST(Results, AmplitudeAndPhaseDefaultToOneAndZeroAndNdivIsTruncated) {
  const Situation s = element(1);
  Arguments a;
  a.elements = StructArray();
  a.elements.set("shape", "rect").set("width", s.a).set("height", s.b);
  a.elements.set("center", {s.center.x, s.center.y, s.center.z});
  a.elements.set("euler", {s.euler.x, s.euler.y, s.euler.z});
  a.ndiv = Value::scalar(4.7);
  Situation plain = s;
  plain.amplitude = 1;
  plain.phase = 0;
  plain.nodes = 4;
  EXPECT_EQ(values(a.run().output()), field(plain, &Transducer::fnm_cw_single, kPoints));
}

// Each allocation of a call fails once, those of the interpreter and those of C++.
TEST(Release, EveryPathLeavesNothingBehind) {
  const auto attempt = [](const Arguments& a, const standalone::Function& entry) {
    const long before = objects_alive;
    char text[200] = "";  // not a string: it must not be alive either
    {
      const mxArray* all[] = {a.elements, a.grid, a.water, a.ndiv, a.frequency};
      const CallResult result = call(entry, 1, {all, all + 5});
      if (result.error) std::snprintf(text, sizeof text, "%s", result.error->c_str());
    }
    EXPECT_EQ(objects_alive, before) << text;
    return text[0] != '\0';
  };
  Arguments a;
  a.elements = transducers(5);
  a.run();  // what is made once per program

  EXPECT_FALSE(attempt(a, mexFunction));
  a.elements.set("shape", "oval", 4);
  EXPECT_TRUE(attempt(a, mexFunction));
  a.elements.set("shape", "circ", 4);
  a.elements.set("complex_weight", 1.0, 3);
  EXPECT_TRUE(attempt(a, mexFunction));

  a.elements = transducers(5);
  int failures = 0;
  for (std::size_t granted = 0;; ++granted) {
    const AllocationLimit limit(granted);
    if (!attempt(a, mexFunction)) break;
    ++failures;
  }
  EXPECT_GE(failures, 9);  // the result, two planes, three tables of the rule, three of the grid

  failures = 0;
  for (bool reached = true; reached; ++failures) {
    const bool failed = attempt(a, [&](int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
      struct Armed {
        bool& reached;
        ~Armed() {
          reached = allocations_until_failure < 0;
          allocations_until_failure = -1;
        }
      } armed{reached};
      allocations_until_failure = failures;
      mexFunction(nlhs, plhs, nrhs, prhs);
    });
    ASSERT_EQ(failed, reached) << "allocation " << failures;
  }
  EXPECT_GE(failures, 10);  // five elements, their lists, the tables of the method
}

// A field that runs out of memory answers 2 and leaves the planes as they were.
TEST(OutOfMemory, IsAnAnswerOfEveryField) {
  for (const ShapeKind shape : kShapes) {
    Situation s = typical(shape);
    const auto element = s.element();
    Bench bench(*element, s.medium, kPoints, 8);
    bench.set_planes({1, 2});
    int result = kOutOfMemory, failures = -1;
    for (; result == kOutOfMemory; ++failures) {
      EXPECT_EQ(bench.field(), std::vector<Complex>(kPoints.size(), {1, 2}));
      allocations_until_failure = failures + 1;
      result = bench.call(&Transducer::fnm_cw);
      allocations_until_failure = -1;
    }
    EXPECT_EQ(result, kSuccess);
    EXPECT_GE(failures, 3);
  }
}

TEST(Version, IsTheOneOfInterleavedComplexValues) {
  unsigned int built_by = 0, required = 0;
  mexfilerequiredapiversion(&built_by, &required);
  EXPECT_EQ(built_by, 0x2023BU);
  EXPECT_EQ(required, 0x08000000U);
}

}  // namespace
}  // namespace kestrel::test
