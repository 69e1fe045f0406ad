// Elements as objects: the method table, setters, printers, warnings, what stubs and refused calls
// leave alone.

#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>
#include <string>

#include "tests/boundary/outcome.h"
#include "tests/support/situation.h"
#include "transducers/triangle_transducer.h"

namespace kestrel::test {
namespace {

using standalone::AllocationLimit;
using standalone::Capture;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

/// The triangle leaves five methods open; closed here so that it can be made.
struct ClosedTriangle : TriangleTransducer {
  int init_fnm_tsd() override { return 9; }
  int call_fnm_tsd() override { return 9; }
  int free_fnm_tsd() override { return 9; }
  int kzk_transient() override { return 9; }
  int kzk_cw() override { return 9; }
};

std::vector<std::unique_ptr<Transducer>> one_of_each() {
  std::vector<std::unique_ptr<Transducer>> elements;
  elements.push_back(std::make_unique<CircularTransducer>(5e-3, 1.0, 0.0));
  elements.push_back(std::make_unique<RectangularTransducer>(5e-3, 6e-3, 1.0, 0.0));
  elements.push_back(std::make_unique<RingTransducer>(2e-3, 5e-3, 1.0, 0.0));
  elements.push_back(std::make_unique<SphericalTransducer>(5e-3, 20e-3, 1.0, 0.0));
  elements.push_back(std::make_unique<SphericalRingTransducer>(2e-3, 5e-3, 20e-3, 1.0, 0.0));
  elements.push_back(std::make_unique<ClosedTriangle>());
  return elements;
}

struct Slot {
  const char* name;
  Method method;
  /// Per shape, in the order of `one_of_each`: x computes, 1 answers 1, e fails, 0 answers 0.
  const char* answers;
};

constexpr Slot kSlots[] = {
    {"farfield_cw", &Transducer::farfield_cw, "1x1111"},
    {"fnm_cw", &Transducer::fnm_cw, "xxxxx0"},
    {"fnm_cw_apodized", &Transducer::fnm_cw_apodized, "x11111"},
    {"fnm_cw_single", &Transducer::fnm_cw_single, "1x1111"},
    {"fnm_cw_sse", &Transducer::fnm_cw_sse, "xx1x11"},
    {"fnm_cw_sse2", &Transducer::fnm_cw_sse2, "1x1111"},
    {"radiator_cw", &Transducer::radiator_cw, "1x1111"},
    {"rayleigh_cw", &Transducer::rayleigh_cw, "xxxxx1"},
    {"rayleigh_cw_apodized", &Transducer::rayleigh_cw_apodized, "x11111"},
    {"rayleigh_cw_sse", &Transducer::rayleigh_cw_sse, "xx1x11"},
    {"fnm_transient_behind_source", &Transducer::fnm_transient_behind_source, "111-11"},
    {"fnm_tsd_behind_source", &Transducer::fnm_tsd_behind_source, "111-11"},
    {"init_fnm_tsd", &Transducer::init_fnm_tsd, "e-eee-"},
    {"call_fnm_tsd", &Transducer::call_fnm_tsd, "e-eee-"},
    {"free_fnm_tsd", &Transducer::free_fnm_tsd, "e-eee-"},
    {"fnm_tsd_sse", &Transducer::fnm_tsd_sse, "-11111"},
    {"rayleigh_transient", &Transducer::rayleigh_transient, "-11111"},
    {"kzk_transient", &Transducer::kzk_transient, "-11-1-"},
    {"kzk_cw", &Transducer::kzk_cw, "-11-1-"},
};

/// Text that goes to std::cout.
template <class Operation>
std::string standard_output(const Operation& operation) {
  std::ostringstream text;
  std::streambuf* before = std::cout.rdbuf(text.rdbuf());
  operation();
  std::cout.rdbuf(before);
  return text.str();
}

TEST(MethodTable, EveryShapeAnswersAsItCan) {
  const Points points = {{1e-3, 0, 10e-3}, {0, 0, 40e-3}};
  for (const Slot& slot : kSlots) {
    const auto elements = one_of_each();
    for (std::size_t k = 0; k < elements.size(); ++k) {
      Medium medium = lossless_medium();
      Bench bench(*elements[k], medium, points, 8);
      elements[k]->set_piston_apodization_index(2);
      bench.set_planes({3, 4});
      int result = -1;
      Outcome outcome;
      standard_output([&] { outcome = outcome_of([&] { result = bench.call(slot.method); }); });
      const bool touched = bench.field() != std::vector<Complex>(2, {3, 4});
      const std::string what = std::string(slot.name) + " of shape " + std::to_string(k);
      switch (slot.answers[k]) {
        case 'x':
        case '0':
          EXPECT_EQ(result, kSuccess) << what;
          break;
        case '1':
          EXPECT_EQ(result, kNotImplemented) << what;
          break;
        case 'e':
          EXPECT_EQ(outcome.error, "Transducer shape not supported for this function\n") << what;
          break;
        default:
          continue;  // computes, but needs more than these inputs
      }
      EXPECT_EQ(touched, slot.answers[k] == 'x') << what;
    }
  }
  EXPECT_EQ(SphericalTransducer().farfield_cw_lossless(), kNotImplemented);
  ClosedTriangle triangle;
  EXPECT_EQ(triangle.fnm_cw_cuda(1), 0);
  EXPECT_EQ(triangle.fnm_transient_cuda(1), 1);
  EXPECT_EQ(triangle.kzk_nonlinear(), 1);
}

// ---- settings -----------------------------------------------------------------------------------

TEST(Settings, WeightFollowsAmplitudeAndPhaseInAnyOrder) {
  RectangularTransducer element(1e-3, 2e-3);
  EXPECT_EQ(element.get_complex_weight(), 0.0);
  EXPECT_EQ(element.get_amplitude(), 1);
  EXPECT_EQ(element.get_phase(), 0);
  CircularTransducer other(1e-3);
  element.set_amplitude(2);
  element.set_phase(M_PI / 2);
  other.set_phase(M_PI / 2);
  other.set_amplitude(2);
  EXPECT_EQ(element.get_complex_weight(), other.get_complex_weight());
  EXPECT_NEAR(std::abs(element.get_complex_weight() - Complex(0, 2)), 0, 1e-15);

  const Complex expected(2 * std::cos(M_PI), 2 * std::sin(M_PI));
  for (const Transducer* made :
       {static_cast<const Transducer*>(new CircularTransducer(1e-3, 2.0, M_PI)),
        static_cast<const Transducer*>(new RectangularTransducer(1e-3, 1e-3, 2, M_PI)),
        static_cast<const Transducer*>(new RingTransducer(1e-3, 2e-3, 2, M_PI)),
        static_cast<const Transducer*>(new SphericalTransducer(1e-3, 2e-3, 2, M_PI)),
        static_cast<const Transducer*>(new SphericalRingTransducer(1e-3, 2e-3, 4e-3, 2, M_PI))}) {
    EXPECT_EQ(made->get_complex_weight(), expected);
    EXPECT_EQ(made->get_amplitude(), 2);
    EXPECT_EQ(made->get_phase(), M_PI);
    delete made;
  }
  EXPECT_EQ(CircularTransducer(1e-3, 7e-6).get_time_delay(), 7e-6);
  EXPECT_EQ(RectangularTransducer(1e-3, 1e-3, 7e-6).get_time_delay(), 7e-6);
  EXPECT_EQ(RingTransducer(1e-3, 2e-3, 7e-6).get_time_delay(), 7e-6);
  EXPECT_EQ(SphericalTransducer(1e-3, 2e-3, 7e-6).get_time_delay(), 7e-6);
  EXPECT_EQ(SphericalRingTransducer(1e-3, 2e-3, 4e-3, 7e-6).get_time_delay(), 7e-6);
}

TEST(Settings, ComplexWeightIsSetButDiscouraged) {
  const Capture capture;
  CircularTransducer element(1e-3, 2.0, 0.5);
  double re = 3, im = 4;
  element.set_complex_weight(&re, &im);
  EXPECT_EQ(element.get_complex_weight(), Complex(3, 4));
  element.set_complex_weight(&re, nullptr);
  EXPECT_EQ(element.get_complex_weight(), Complex(3, 0));
  EXPECT_EQ(element.get_amplitude(), 2);
  EXPECT_EQ(element.get_phase(), 0.5);
  EXPECT_EQ(capture.warnings(),
            std::vector<std::string>(2,
                                     "KESTREL no longer uses the complex_weight property. "
                                     "Please use phase and amplitude instead."));
}

TEST(Settings, EveryFormOfPlacingAgrees) {
  double values[] = {1, 2, 3};
  CircularTransducer a, b, c;
  a.set_center(values), b.set_center(1, 2, 3), c.set_center(Point(1, 2, 3));
  a.set_euler(values), b.set_euler(1, 2, 3), c.set_euler(Point(1, 2, 3));
  for (const CircularTransducer* e : {&a, &b, &c}) {
    EXPECT_EQ(e->get_center().x + 10 * e->get_center().y + 100 * e->get_center().z, 321);
    EXPECT_EQ(e->get_euler().x + 10 * e->get_euler().y + 100 * e->get_euler().z, 321);
  }
  a.set_euler(0, 0, M_PI / 2);
  a.InitializeRotationMatrix();
  const Point turned = a.rotateTranslate({2, 2, 3});
  EXPECT_NEAR(turned.calculate_distance(0, -1, 0), 0, 1e-15);
}

TEST(Settings, ImpulseTimesAreNotKnownAtFirst) {
  const Capture capture;
  const CircularTransducer element(1e-3);
  EXPECT_EQ(element.get_impulse_begin_time(), -1.0);
  EXPECT_TRUE(capture.warnings().empty());
  EXPECT_EQ(element.get_impulse_end_time(), -1.0);
  EXPECT_EQ(capture.warnings(),
            std::vector<std::string>{
                "Impulse end time used before impulse_begin_and_end_times was called.\n"});
}

TEST(Settings, PlanesAndTransientArrayExcludeEachOther) {
  CircularTransducer element;
  double re, im, trace;
  element.set_complex_pressure_pointers(&re, &im);
  EXPECT_EQ(element.real_pressure_plane(), &re);
  EXPECT_EQ(element.imaginary_pressure_plane(), &im);
  element.set_transient_pressure_pointer(&trace);
  EXPECT_EQ(element.real_pressure_plane(), nullptr);
  EXPECT_EQ(element.imaginary_pressure_plane(), nullptr);
  EXPECT_EQ(element.transient_pressure(), &trace);
  element.set_complex_pressure_pointers(&re, &im);
  EXPECT_EQ(element.transient_pressure(), nullptr);
}

TEST(Superposing, AddsToPlanesAndToTracesByTimeFirst) {
  CircularTransducer element;
  CoordinateGrid grid;
  fill_grid(grid, {{0, 0, 1}, {0, 0, 2}, {0, 0, 3}});
  TimeSamples time;
  const double times[] = {0, 1, 2, 3};
  time.vectoroftimevalues(times, 4);
  element.set_global_coordinate_grid(&grid);
  element.set_time_vector(&time);

  std::vector<double> re(3, 1.0), im(3, 2.0);
  element.set_complex_pressure_pointers(re.data(), im.data());
  element.superpose_complex_pressure(1, {0.5, 0.25});
  EXPECT_EQ(re, (std::vector<double>{1, 1.5, 1}));
  EXPECT_EQ(im, (std::vector<double>{2, 2.25, 2}));
  element.zerofill_complex_pressure();
  EXPECT_EQ(re, std::vector<double>(3, 0.0));
  EXPECT_EQ(im, std::vector<double>(3, 0.0));

  std::vector<double> all(12, 1.0);
  element.set_transient_pressure_pointer(all.data());
  const double trace[] = {10, 20, 30, 40};
  const float narrow[] = {0.1f, 0, 0, 0};
  element.superpose_transient_pressure(2, trace);
  element.superpose_transient_pressure(0, narrow);
  EXPECT_EQ(all, (std::vector<double>{1 + double{0.1f}, 1, 11, 1, 1, 21, 1, 1, 31, 1, 1, 41}));
  element.zerofill_transient_pressure();
  EXPECT_EQ(all, std::vector<double>(12, 0.0));
}

// ---- printers -----------------------------------------------------------------------------------

TEST(Printers, TellTheGeometryOfEachShape) {
  const char* const host_ends[] = {
      "radius: 0.005000\n",
      "width: 0.005000\nheight: 0.006000\n\n",
      "inner radius: 0.002000\nouter radius: 0.005000\n\n",
      "radius: 0.005000\n",  // not the curvature
      "inner radius: 0.002000\nouter radius: 0.005000\ngeometric focus: 0.020000\n\n",
      "",
  };
  const char* const stream_ends[] = {
      "radius: 0.005\n",
      "Width:0.005\nHeight:0.006\n",
      "inner radius: 0.002\nouter radius: 0.005\n",
      "radius: 0.005\nROC:0.02\n",
      "inner radius: 0.002\nouter radius: 0.005\ngeometric focus: 0.02\n",
      "",
  };
  const auto elements = one_of_each();
  Medium medium = lossless_medium();
  medium._fs = 5;
  medium._dBcmMHz = 0.5;
  CoordinateGrid grid;
  fill_grid(grid, {{-1, 2, 3}, {1, 4, 6}});
  for (std::size_t k = 0; k < elements.size(); ++k) {
    Transducer& e = *elements[k];
    e.set_center(1, 2, 3);
    e.set_euler(0.5, 0.25, 0);
    e.set_amplitude(2);
    e.set_phase(0);
    e.set_time_delay(1e-6);
    e.set_medium(&medium);
    e.set_global_coordinate_grid(&grid);

    const std::string brief =
        "Element center: (1.000000e+00, 2.000000e+00, 3.000000e+00)\n"
        "Element Euler angles: (5.000000e-01, 2.500000e-01, 0.000000e+00)\n"
        "Amplitude: 2.000000e+00\nPhase: 0.000000e+00\nTime Delay: 1.000000e-06\n"
        "Complex Weight: 2.000000e+00 + 0.000000e+00 i\n";
    const std::string inputs =
        "Parameters:\nfs: 5.000000\nf0: 1000000.000000\nc: 1500.000000\nattenuation: 0.500000\n"
        "density: 1000.000000\n\nCoordinate grid:\nx range: -1.000000 to 1.000000\n"
        "y range: 2.000000 to 4.000000\nz range: 3.000000 to 6.000000\n";
    EXPECT_EQ(outcome_of([&] { e.mex_debug(1); }).printed, brief + host_ends[k]);
    EXPECT_EQ(outcome_of([&] { e.mex_debug(2); }).printed, brief + inputs + host_ends[k]);

    const std::string one = standard_output([&] { e.debug(1); });
    const std::string two = standard_output([&] { e.debug(2); });
    const std::string three = standard_output([&] { e.debug(3); });
    const std::string end = stream_ends[k];
    const auto stem = [&](const std::string& text) {
      EXPECT_EQ(text.substr(text.size() - end.size()), end);
      return text.substr(0, text.size() - end.size());
    };
    EXPECT_EQ(stem(one).find("Center Coordinates Address:0x"), 0U);
    EXPECT_NE(one.find("\ncenter.x:1\ncenter.y:2\ncenter.z:3\nEuler Angles Address:0x"),
              std::string::npos);
    EXPECT_NE(one.find("\neuler.x:0.5\neuler.y:0.25\neuler.z:0\nMain obs grid address: 0x"),
              std::string::npos);
    EXPECT_NE(stem(one).find("\nParameters address: 0x"), std::string::npos);
    EXPECT_NE(stem(one).find("\nAmplitude: 2\nPhase: 0\n"), std::string::npos);
    EXPECT_EQ(stem(two), stem(one) +
                             "Parameters Used:\nFS:5\nF0:1e+06\nc_sound:1500\natten:0.5\n"
                             "rho_den:1000\nLocal information\nGlobal information\n"
                             "Number of obs points:2\nX-range:-1 to 1\nY-range:2 to 4\n"
                             "Z-range:3 to 6\nIntegral info\n");
    EXPECT_EQ(stem(three), stem(two) + "Coordinates to calculate\n");
  }
}

// ---- warnings, gates, memory --------------------------------------------------------------------

constexpr char kNoFrequency[] = "f0 not set; using default of 1 MHz to calculate wavelength.";
constexpr char kNoSpeed[] =
    "Sound speed not set; using default of 1500 m/s to calculate wavenumber.";

struct Gate {
  ShapeKind shape;
  Method method;
  bool warns;         ///< when the frequency is not set
  bool warns_of_nan;  ///< and when it is NaN
  bool has_gate;      ///< a silent element adds nothing
};

constexpr Gate kGates[] = {
    {ShapeKind::rectangle, &Transducer::fnm_cw_single, true, false, true},
    {ShapeKind::rectangle, &Transducer::fnm_cw, true, false, true},
    {ShapeKind::rectangle, &Transducer::fnm_cw_sse, true, false, false},
    {ShapeKind::rectangle, &Transducer::fnm_cw_sse2, true, false, true},
    {ShapeKind::rectangle, &Transducer::rayleigh_cw, true, false, true},
    {ShapeKind::rectangle, &Transducer::rayleigh_cw_sse, true, false, true},
    {ShapeKind::rectangle, &Transducer::farfield_cw, true, false, true},
    {ShapeKind::rectangle, &Transducer::radiator_cw, true, false, true},
    {ShapeKind::disc, &Transducer::fnm_cw, true, true, true},
    {ShapeKind::disc, &Transducer::fnm_cw_apodized, false, false, true},
    {ShapeKind::disc, &Transducer::fnm_cw_sse, false, false, false},
    {ShapeKind::disc, &Transducer::rayleigh_cw, false, false, true},
    {ShapeKind::disc, &Transducer::rayleigh_cw_apodized, false, false, true},
    {ShapeKind::disc, &Transducer::rayleigh_cw_sse, false, false, true},
    {ShapeKind::ring, &Transducer::fnm_cw, false, false, true},
    {ShapeKind::ring, &Transducer::rayleigh_cw, false, false, true},
    {ShapeKind::shell, &Transducer::fnm_cw, true, true, true},
    {ShapeKind::shell, &Transducer::fnm_cw_sse, true, true, true},
    {ShapeKind::shell, &Transducer::rayleigh_cw, false, false, true},
    {ShapeKind::spherical_ring, &Transducer::fnm_cw, true, true, true},
    {ShapeKind::spherical_ring, &Transducer::rayleigh_cw, false, false, true},
};

std::vector<std::string> warnings_of(const Situation& s, Method method) {
  const Capture capture;
  field(s, method, {{1e-3, 2e-3, 20e-3}});
  return capture.warnings();
}

// The default frequency reaches the wavenumber only: loss and prefactors keep the stored one.
TEST(Warnings, OfAFrequencyOrSpeedThatIsNotSet) {
  for (const Gate& g : kGates) {
    Situation s = typical(g.shape);
    s.profile = 2;
    for (const auto& [frequency, warns] : {std::pair{0.0, g.warns},
                                           {-1.0, g.warns},
                                           {1e-10, g.warns},
                                           {1.1e-10, false},
                                           {kNan, g.warns_of_nan}}) {
      s.medium._f0 = frequency;
      EXPECT_EQ(warnings_of(s, g.method),
                warns ? std::vector<std::string>{kNoFrequency} : std::vector<std::string>{})
          << frequency;
      s.amplitude = 0;  // the warning comes before the gate
      EXPECT_EQ(warnings_of(s, g.method).size(), warns ? 1U : 0U);
      s.amplitude = 1;
    }
    s.medium._f0 = 1e6;
    for (const double speed : {0.0, -3.0, kNan}) {
      s.medium._soundspeed = speed;
      const bool falls_back = g.shape == ShapeKind::disc && g.method == &Transducer::rayleigh_cw;
      EXPECT_EQ(warnings_of(s, g.method),
                falls_back ? std::vector<std::string>{kNoSpeed} : std::vector<std::string>{});
    }
  }
  const Capture quiet;
  const Points points = {{1e-3, 2e-3, 20e-3}, {0, 0, 5e-3}};
  for (const ShapeKind shape :
       {ShapeKind::rectangle, ShapeKind::disc, ShapeKind::shell, ShapeKind::spherical_ring}) {
    Situation unset = typical(shape), lossless = typical(shape);
    unset.medium._f0 = 0;
    unset.medium._dBcmMHz = 3;
    EXPECT_EQ(field(unset, &Transducer::fnm_cw, points),
              field(lossless, &Transducer::fnm_cw, points));
    EXPECT_EQ(peak(field(unset, &Transducer::rayleigh_cw, points)), 0);
  }
  Situation disc = typical(ShapeKind::disc), no_speed = disc;
  no_speed.medium._soundspeed = 0;
  EXPECT_EQ(field(no_speed, &Transducer::rayleigh_cw, points),
            field(disc, &Transducer::rayleigh_cw, points));
}

TEST(Gate, SilentElementsAddNothing) {
  for (const Gate& g : kGates) {
    Situation s = typical(g.shape);
    s.profile = 2;
    for (const auto& [amplitude, silent] :
         {std::pair{0.0, true}, {1e-10, true}, {-1e-10, true}, {1.1e-10, false}}) {
      s.amplitude = amplitude;
      const auto element = s.element();
      Bench bench(*element, s.medium, {{1e-3, 2e-3, 20e-3}}, 8);
      const Capture capture;
      EXPECT_EQ(bench.call(g.method), kSuccess);
      EXPECT_EQ(bench.field()[0] == 0.0, silent && (g.has_gate || amplitude == 0));
      EXPECT_TRUE(capture.printed().empty() || g.method == &Transducer::rayleigh_cw_sse);
    }
  }
}

TEST(Prints, TheRectanglesFourWideRayleighSumNamesItsNodes) {
  const Capture capture;
  Situation s = typical(ShapeKind::rectangle);
  s.nodes = 6;
  field(s, &Transducer::rayleigh_cw_sse, {{0, 0, 1e-2}});
  EXPECT_EQ(capture.printed(), "rayleigh_cw_sse: 6 abscissas\n");
}

// Four-wide sums of the round shapes take whole blocks of nodes only.
TEST(FourWide, NodesBeyondAMultipleOfFourDoNotCount) {
  const Points points = {{1e-3, 2e-3, 20e-3}};
  for (const auto& [shape, method] : {std::pair{ShapeKind::disc, &Transducer::fnm_cw_sse},
                                      {ShapeKind::disc, &Transducer::rayleigh_cw_sse},
                                      {ShapeKind::shell, &Transducer::fnm_cw_sse}}) {
    Situation s = typical(shape);
    for (const int n : {1, 3, 6}) {
      s.nodes = n;
      EXPECT_EQ(peak(field(s, method, points)) == 0, n < 4) << n;
    }
  }
}

// The round planar shapes fill the shared rule over (0, pi); the others leave it alone.
TEST(SharedRule, IsRefilledByDiscAndRing) {
  for (const ShapeKind shape : kShapes) {
    Situation s = typical(shape);
    const auto element = s.element();
    Bench bench(*element, s.medium, {{0, 0, 1e-2}}, 5);
    bench.call(&Transducer::rayleigh_cw);
    EXPECT_LT(bench.rule().get_abscissa(4), 0);
    bench.call(&Transducer::fnm_cw);
    const bool refilled = shape == ShapeKind::disc || shape == ShapeKind::ring;
    EXPECT_EQ(bench.rule().get_abscissa(4) > 0, refilled);
  }
}

// Fields are had from the standard allocator, so that a failure is an answer and not a jump.
TEST(Memory, FieldsAskTheHostForNone) {
  for (const Gate& g : kGates) {
    Situation s = typical(g.shape);
    s.profile = 2;
    const auto element = s.element();
    Bench bench(*element, s.medium, {{1e-3, 2e-3, 20e-3}}, 8);
    const Capture quiet;
    const AllocationLimit none(0);
    EXPECT_EQ(bench.call(g.method), kSuccess);
  }
}

}  // namespace
}  // namespace kestrel::test
