// Elements as objects: the method table, setters, printers, warnings, what stubs and refused calls
// leave alone.

#include "kestrel/elements.h"

#include <cstring>
#include <gtest/gtest.h>
#include <iostream>
#include <limits>
#include <sstream>
#include <string>

#include "kestrel/excitation.h"
#include "tests/boundary/outcome.h"
#include "tests/support/cw_methods.h"

namespace kestrel::test {
namespace {

using standalone::AllocationLimit;
using standalone::Capture;

/// The triangle leaves five methods open; closed here so that it can be made.
struct ClosedTriangle : TriangleTransducer {
  int init_fnm_tsd() override { return 9; }
  int call_fnm_tsd() override { return 9; }
  int free_fnm_tsd() override { return 9; }
  int kzk_transient() override { return 9; }
  int kzk_cw() override { return 9; }
};

/// The five shapes and the triangle, driven or delayed as their constructors' last arguments say.
template <class... Drive>
std::vector<std::unique_ptr<Transducer>> one_of_each(Drive... drive) {
  std::vector<std::unique_ptr<Transducer>> elements;
  elements.push_back(std::make_unique<CircularTransducer>(5e-3, drive...));
  elements.push_back(std::make_unique<RectangularTransducer>(5e-3, 6e-3, drive...));
  elements.push_back(std::make_unique<RingTransducer>(2e-3, 5e-3, drive...));
  elements.push_back(std::make_unique<SphericalTransducer>(5e-3, 20e-3, drive...));
  elements.push_back(std::make_unique<SphericalRingTransducer>(2e-3, 5e-3, 20e-3, drive...));
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

/// Keeps what goes to std::cout.
struct StandardOutput {
  std::ostringstream text;
  std::streambuf* before = std::cout.rdbuf(text.rdbuf());
  ~StandardOutput() { std::cout.rdbuf(before); }
};

TEST(MethodTable, EveryShapeAnswersAsItCan) {
  const StandardOutput quiet;
  const Points points = {{1e-3, 0, 10e-3}, {0, 0, 40e-3}};
  for (const Slot& slot : kSlots) {
    auto elements = one_of_each(1.0, 0.0);
    for (std::size_t k = 0; k < elements.size(); ++k) {
      SCOPED_TRACE(std::string(slot.name) + " of shape " + std::to_string(k));
      const char answer = slot.answers[k];
      if (answer == '-') continue;  // computes, but needs more than these inputs
      Bench bench(std::move(elements[k]), lossless_medium(), points, 8);
      bench.element().set_piston_apodization_index(2);
      bench.set_planes({3, 4});
      int result = -1;
      const Outcome outcome = outcome_of([&] { result = bench.call(slot.method); });
      EXPECT_EQ(result, answer == 'e' ? -1 : answer == '1' ? kNotImplemented : kSuccess);
      EXPECT_EQ(outcome.error.value_or(""),
                answer == 'e' ? "Transducer shape not supported for this function\n" : "");
      EXPECT_EQ(bench.field() != std::vector<Complex>(2, {3, 4}), answer == 'x');
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
  const Complex expected(2 * std::cos(0.5), 2 * std::sin(0.5));
  const auto driven = one_of_each(2.0, 0.5), delayed = one_of_each(7e-6);
  for (int k = 0; k < 5; ++k) {
    EXPECT_EQ(driven[k]->get_complex_weight(), expected);
    EXPECT_EQ(delayed[k]->get_time_delay(), 7e-6);
    EXPECT_EQ(delayed[k]->get_amplitude(), 1);
    delayed[k]->set_phase(0.5);
    delayed[k]->set_amplitude(2);
    EXPECT_EQ(delayed[k]->get_complex_weight(), expected);
  }
  EXPECT_EQ(RectangularTransducer(1e-3, 2e-3).get_complex_weight(), 0.0);
  // A negative amplitude turns the element round, whichever of the two comes last.
  for (const auto& element : one_of_each(-2.0, 0.5)) {
    if (dynamic_cast<TriangleTransducer*>(element.get())) continue;
    EXPECT_EQ(element->get_complex_weight(), -expected);
    element->set_amplitude(2);
    element->set_amplitude(-2);
    element->set_phase(0.5);
    EXPECT_EQ(element->get_complex_weight(), -expected);
  }
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
    EXPECT_EQ(e->get_center().calculate_distance(1, 2, 3), 0);
    EXPECT_EQ(e->get_euler().calculate_distance(1, 2, 3), 0);
  }
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

// An end at exactly zero is known: the rim is five away, five ahead of time.
TEST(Settings, AnImpulseMayEndAtZero) {
  Situation s;
  s.shape = ShapeKind::disc;
  s.a = 3;
  s.medium._soundspeed = 1;
  test::Setup setup(s, Points{{0, 0, 4}});
  setup.element().set_time_delay(-5);
  EXPECT_EQ(setup.call(&Transducer::impulse_begin_and_end_times), kSuccess);
  const Capture capture;
  EXPECT_EQ(setup.element().get_impulse_end_time(), 0.0);
  EXPECT_TRUE(capture.warnings().empty());
  // Behind the rim too a disc takes z with its sign.
  test::Setup rim(s, Points{{3, 0, -4}});
  EXPECT_EQ(rim.call(&Transducer::impulse_begin_and_end_times), kSuccess);
  EXPECT_EQ(rim.element().get_impulse_begin_time(), -4.0);
  // Without a point the rectangle's span is the wrong way round.
  test::Setup empty(typical(ShapeKind::rectangle), Points{});
  EXPECT_EQ(empty.call(&Transducer::impulse_begin_and_end_times), kSuccess);
  EXPECT_EQ(empty.element().get_impulse_begin_time(), std::numeric_limits<double>::max());
  EXPECT_EQ(empty.element().get_impulse_end_time(), 0.0);
}

#if defined(__GNUC__) && defined(__x86_64__)
// Programs index the table. In this machine's calling convention a pointer to a virtual member is 1
// plus the offset of its slot.
template <class Member>
std::size_t slot_of(Member member) {
  std::size_t offset;
  std::memcpy(&offset, &member, sizeof offset);
  return (offset - 1) / sizeof(void*);
}

template <class... Members>
void expect_slots(std::size_t first, Members... members) {
  for (const std::size_t slot : {slot_of(members)...}) EXPECT_EQ(slot, first++);
}

TEST(MethodTable, KeepsItsOrder) {
  using T = Transducer;
  const auto point = [](void (T::*set)(CartesianCoordinate)) { return set; };
  const auto list = [](void (T::*set)(double*)) { return set; };
  const auto three = [](void (T::*set)(double, double, double)) { return set; };
  // After the destructor's two.
  expect_slots(2, &T::debug, &T::mex_debug, point(&T::set_center), list(&T::set_center),
               three(&T::set_center), point(&T::set_euler), list(&T::set_euler),
               three(&T::set_euler), &T::set_amplitude, &T::set_phase, &T::set_complex_weight,
               &T::set_time_delay, &T::set_piston_apodization_index, &T::get_amplitude,
               &T::get_phase, &T::get_piston_apodization_index, &T::set_global_coordinate_grid,
               &T::set_integral_pointer, &T::set_medium, &T::set_time_vector,
               &T::set_complex_pressure_pointers, &T::set_transient_pressure_pointer,
               &T::farfield_cw, &T::fnm_cw, &T::fnm_cw_apodized, &T::fnm_cw_single, &T::fnm_cw_sse,
               &T::fnm_cw_sse2, &T::radiator_cw, &T::rayleigh_cw, &T::rayleigh_cw_apodized,
               &T::rayleigh_cw_sse, &T::impulse_begin_and_end_times, &T::impulse_response,
               &T::fnm_transient, &T::fnm_transient_behind_source, &T::fnm_fdtsd, &T::fnm_tsd,
               &T::init_fnm_tsd, &T::call_fnm_tsd, &T::free_fnm_tsd, &T::fnm_tsd_behind_source,
               &T::fnm_tsd_low_precision, &T::fnm_tsd_sse, &T::rayleigh_transient,
               &T::kzk_transient, &T::kzk_cw, &T::rotateTranslate);
  using E = ExcitationFunction;
  const auto at_delay = [](auto real) {
    return [](void (E::*terms)(decltype(real)*, const decltype(real)&) const) { return terms; };
  };
  const auto at_times = [](auto real) {
    return [](void (E::*terms)(decltype(real)*, const TimeSamples*, const int&,
                               const decltype(real)&) const) { return terms; };
  };
  expect_slots(
      0, at_delay(1.0)(&E::spatial_tsd), at_delay(1.0F)(&E::spatial_tsd),
      at_times(1.0)(&E::temporal_tsd), at_times(1.0F)(&E::temporal_tsd), &E::at, &E::derivative,
      &E::number_of_tsd_terms, &E::get_nxtimesamples, &E::get_pulse_width, &E::get_A0, &E::get_f0,
      &E::get_B, &E::get_type, &E::get_dc_index, &E::get_nyquist_index, &E::get_omega_array,
      &E::get_frequency_domain_input_signal_real, &E::get_frequency_domain_input_signal_imag);
}
#endif

TEST(Superposing, AddsToPlanesOrToTracesByTimeFirst) {
  CircularTransducer element;
  CoordinateGrid grid;
  fill_grid(grid, {{0, 0, 1}, {0, 0, 2}, {0, 0, 3}});
  TimeSamples time(1, 0, 3);
  element.set_global_coordinate_grid(&grid);
  element.set_time_vector(&time);

  std::vector<double> re(3, 1.0), im(3, 2.0), all(12, 1.0);
  element.set_complex_pressure_pointers(re.data(), im.data());
  element.superpose_complex_pressure(1, {0.5, 0.25});
  EXPECT_EQ(re, (std::vector<double>{1, 1.5, 1}));
  EXPECT_EQ(im, (std::vector<double>{2, 2.25, 2}));
  element.zerofill_complex_pressure();
  EXPECT_EQ(re, std::vector<double>(3, 0.0));
  EXPECT_EQ(im, std::vector<double>(3, 0.0));

  // Planes and transient array exclude each other.
  element.set_transient_pressure_pointer(all.data());
  EXPECT_EQ(element.real_pressure_plane(), nullptr);
  EXPECT_EQ(element.imaginary_pressure_plane(), nullptr);
  const double trace[] = {10, 20, 30, 40};
  const float narrow[] = {0.1f, 0, 0, 0};
  element.superpose_transient_pressure(2, trace);
  element.superpose_transient_pressure(0, narrow);
  EXPECT_EQ(all, (std::vector<double>{1 + double{0.1f}, 1, 11, 1, 1, 21, 1, 1, 31, 1, 1, 41}));
  element.zerofill_transient_pressure();
  EXPECT_EQ(all, std::vector<double>(12, 0.0));
  // No further than the time axis's last update.
  ASSERT_TRUE(time.updatetimevectorfromminmaxdeltat(1, 0, 1));
  ASSERT_EQ(time.nt_local(), 2);
  element.call_superpose_transient_pressure(1, trace);
  EXPECT_EQ(all, (std::vector<double>{0, 10, 0, 0, 20, 0, 0, 0, 0, 0, 0, 0}));
  element.set_complex_pressure_pointers(re.data(), im.data());
  EXPECT_EQ(element.transient_pressure(), nullptr);
}

// ---- printers -----------------------------------------------------------------------------------

/// The text of `debug`, of addresses only their beginning.
std::string debug_of(Transducer& element, int level) {
  const StandardOutput output;
  element.debug(level);
  std::string text = output.text.str();
  for (auto at = text.find("0x"); at != std::string::npos; at = text.find("0x", at + 2)) {
    text.erase(at + 2, text.find('\n', at) - at - 2);
  }
  return text;
}

TEST(Printers, TellWhatEachElementIs) {
  struct Ends {
    const char *host, *stream;
  };
  const Ends ends[] = {
      {"radius: 0.005000\n", "radius: 0.005\n"},
      {"width: 0.005000\nheight: 0.006000\n\n", "Width:0.005\nHeight:0.006\n"},
      {"inner radius: 0.002000\nouter radius: 0.005000\n\n",
       "inner radius: 0.002\nouter radius: 0.005\n"},
      {"radius: 0.005000\n", "radius: 0.005\nROC:0.02\n"},  // the host hears no curvature
      {"inner radius: 0.002000\nouter radius: 0.005000\ngeometric focus: 0.020000\n\n",
       "inner radius: 0.002\nouter radius: 0.005\ngeometric focus: 0.02\n"},
      {"", ""},
  };
  Medium medium = lossless_medium();
  medium._fs = 5;
  medium._dBcmMHz = 0.5;
  auto elements = one_of_each(2.0, 0.0);
  for (std::size_t k = 0; k < elements.size(); ++k) {
    const std::string host_end = ends[k].host, stream_end = ends[k].stream;
    Bench bench(std::move(elements[k]), medium, Points{{-1, 2, 3}, {1, 4, 6}}, 8);
    Transducer& e = bench.element();
    e.set_center(1, 2, 3);
    e.set_euler(0.5, 0.25, 0);
    e.set_amplitude(2);
    e.set_phase(0);
    e.set_time_delay(1e-6);

    const std::string brief =
        "Element center: (1.000000e+00, 2.000000e+00, 3.000000e+00)\n"
        "Element Euler angles: (5.000000e-01, 2.500000e-01, 0.000000e+00)\n"
        "Amplitude: 2.000000e+00\nPhase: 0.000000e+00\nTime Delay: 1.000000e-06\n"
        "Complex Weight: 2.000000e+00 + 0.000000e+00 i\n";
    const std::string inputs =
        "Parameters:\nfs: 5.000000\nf0: 1000000.000000\nc: 1500.000000\nattenuation: 0.500000\n"
        "density: 1000.000000\n\nCoordinate grid:\nx range: -1.000000 to 1.000000\n"
        "y range: 2.000000 to 4.000000\nz range: 3.000000 to 6.000000\n";
    EXPECT_EQ(outcome_of([&] { e.mex_debug(1); }).printed, brief + host_end);
    EXPECT_EQ(outcome_of([&] { e.mex_debug(2); }).printed, brief + inputs + host_end);

    const std::string one =
        "Center Coordinates Address:0x\ncenter.x:1\ncenter.y:2\ncenter.z:3\n"
        "Euler Angles Address:0x\neuler.x:0.5\neuler.y:0.25\neuler.z:0\n"
        "Main obs grid address: 0x\nParameters address: 0x\nAmplitude: 2\nPhase: 0\n";
    const std::string two =
        "Parameters Used:\nFS:5\nF0:1e+06\nc_sound:1500\natten:0.5\nrho_den:1000\n"
        "Local information\nGlobal information\nNumber of obs points:2\nX-range:-1 to 1\n"
        "Y-range:2 to 4\nZ-range:3 to 6\nIntegral info\n";
    EXPECT_EQ(debug_of(e, 1), one + stream_end);
    EXPECT_EQ(debug_of(e, 2), one + two + stream_end);
    EXPECT_EQ(debug_of(e, 3), one + two + "Coordinates to calculate\n" + stream_end);
  }
}

// ---- warnings, gates, memory --------------------------------------------------------------------

constexpr char kNoFrequency[] = "f0 not set; using default of 1 MHz to calculate wavelength.";
constexpr char kNoSpeed[] =
    "Sound speed not set; using default of 1500 m/s to calculate wavenumber.";

/// Rectangles and most fast nearfield methods look at the frequency; where a NaN counts as not set,
/// they warn of it too.
bool warns(const CwMethod& m) {
  if (m.shape == ShapeKind::rectangle) return true;
  if (m.method == &Transducer::fnm_cw) return m.shape != ShapeKind::ring;
  return m.shape == ShapeKind::shell && m.method == &Transducer::fnm_cw_sse;
}
bool warns_of_nan(const CwMethod& m) { return warns(m) && m.shape != ShapeKind::rectangle; }
/// A silent element adds nothing; the others compute a zero.
bool has_gate(const CwMethod& m) {
  const bool round_or_flat = m.shape == ShapeKind::rectangle || m.shape == ShapeKind::disc;
  return !(round_or_flat && m.method == &Transducer::fnm_cw_sse);
}

Situation apodized(ShapeKind shape) {
  Situation s = typical(shape);
  s.profile = 2;
  return s;
}

const Points kPoints = {{1e-3, 2e-3, 20e-3}, {0, 0, 5e-3}};

using Texts = std::vector<std::string>;

Texts warnings_of(const Situation& s, Method method) {
  const Capture capture;
  field(s, method, kPoints);
  return capture.warnings();
}

TEST(Warnings, OfAFrequencyOrSpeedThatIsNotSet) {
  for (const CwMethod& m : kCwMethods) {
    SCOPED_TRACE(m.name);
    Situation s = apodized(m.shape);
    for (const auto& [frequency, warned] : {std::pair{0.0, warns(m)},
                                            {-1.0, warns(m)},
                                            {1e-10, warns(m)},
                                            {1.1e-10, false},
                                            {kNan, warns_of_nan(m)}}) {
      s.medium._f0 = frequency;
      for (const double amplitude : {1.0, 0.0}) {  // the warning comes before the gate
        s.amplitude = amplitude;
        EXPECT_EQ(warnings_of(s, m.method), warned ? Texts{kNoFrequency} : Texts{}) << frequency;
      }
    }
    s.medium._f0 = 1e6;
    const bool falls_back = m.shape == ShapeKind::disc && m.method == &Transducer::rayleigh_cw;
    for (const double speed : {0.0, -3.0, 1e-10, kNan}) {
      s.medium._soundspeed = speed;
      EXPECT_EQ(warnings_of(s, m.method), falls_back ? Texts{kNoSpeed} : Texts{}) << speed;
    }
  }
}

// The default frequency reaches the wavenumber only: loss and prefactors keep the stored one.
TEST(Warnings, SayWhatIsComputedInstead) {
  const Capture quiet;
  for (const ShapeKind shape : kShapes) {
    if (shape == ShapeKind::ring) continue;
    Situation unset = typical(shape);
    unset.medium._f0 = 0;
    unset.medium._dBcmMHz = 3;
    EXPECT_EQ(field(unset, &Transducer::fnm_cw, kPoints),
              field(typical(shape), &Transducer::fnm_cw, kPoints));
    EXPECT_EQ(peak(field(unset, &Transducer::rayleigh_cw, kPoints)), 0);
  }
  Situation face = typical(ShapeKind::rectangle), unset = face;
  unset.medium._f0 = 0;
  unset.medium._dBcmMHz = 3;
  for (const Method method :
       {&Transducer::fnm_cw_single, &Transducer::fnm_cw_sse, &Transducer::fnm_cw_sse2}) {
    EXPECT_EQ(field(unset, method, kPoints), field(face, method, kPoints));
  }
  for (const Method method : {&Transducer::farfield_cw, &Transducer::radiator_cw}) {
    EXPECT_EQ(peak(field(unset, method, kPoints)), 0);
  }
  // The closed form at the centre of curvature, and beside it.
  Situation shell = typical(ShapeKind::shell);
  shell.medium._f0 = 0;
  const auto near_focus =
      field(shell, &Transducer::fnm_cw, {{0, 0, shell.b}, {0, 0, shell.b + 1e-3}});
  EXPECT_EQ(std::abs(near_focus[0]), 0);
  EXPECT_GT(std::abs(near_focus[1]), 0);
  Situation no_speed = typical(ShapeKind::disc);
  no_speed.medium._soundspeed = 0;
  EXPECT_EQ(field(no_speed, &Transducer::rayleigh_cw, kPoints),
            field(typical(ShapeKind::disc), &Transducer::rayleigh_cw, kPoints));
}

// Fields are had from the standard allocator, so that a failure is an answer and not a jump: the
// host is asked for nothing.
TEST(Gate, SilentElementsAddNothing) {
  for (const CwMethod& m : kCwMethods) {
    Situation s = apodized(m.shape);
    for (const auto& [amplitude, silent] :
         {std::pair{0.0, true}, {1e-10, true}, {-1e-10, true}, {1.1e-10, false}}) {
      s.amplitude = amplitude;
      Bench bench(s, kPoints);
      const Capture capture;
      const AllocationLimit none(0);
      EXPECT_EQ(bench.call(m.method), kSuccess);
      EXPECT_EQ(bench.field()[0] == 0.0, silent && (has_gate(m) || amplitude == 0)) << m.name;
      const bool tells =
          m.method == &Transducer::rayleigh_cw_sse && m.shape == ShapeKind::rectangle && !silent;
      EXPECT_EQ(capture.printed(), tells ? "rayleigh_cw_sse: 32 abscissas\n" : "") << m.name;
    }
  }
}

// Four-wide sums of the round shapes take whole blocks of nodes only.
TEST(FourWide, NodesBeyondAMultipleOfFourDoNotCount) {
  for (const auto& [shape, method] : {std::pair{ShapeKind::disc, &Transducer::fnm_cw_sse},
                                      {ShapeKind::disc, &Transducer::rayleigh_cw_sse},
                                      {ShapeKind::shell, &Transducer::fnm_cw_sse}}) {
    Situation s = typical(shape);
    for (const int n : {1, 3, 6}) {
      s.nodes = n;
      EXPECT_EQ(peak(field(s, method, kPoints)) == 0, n < 4) << n;
    }
  }
}

// A negative inner radius is no hole.
TEST(Rings, CountANegativeInnerRadiusAsNone) {
  for (const CwMethod& m : kCwMethods) {
    if (m.shape != ShapeKind::ring && m.shape != ShapeKind::spherical_ring) continue;
    Situation whole = typical(m.shape), negative = whole;
    whole.a = 0;
    negative.a = -1e-3;
    EXPECT_EQ(field(negative, m.method, kPoints), field(whole, m.method, kPoints)) << m.name;
  }
}

// Sums are rounded in this order: what is there already, the outer cap, the inner one.
TEST(Rings, AddTheOuterCapFirst) {
  const Situation ring = typical(ShapeKind::spherical_ring);
  Situation outer = ring, inner = ring;
  outer.a = inner.a = 0;
  inner.b = ring.a;
  inner.amplitude = -1;
  for (const Method method : {&Transducer::fnm_cw, &Transducer::rayleigh_cw}) {
    for (double x = 0; x < 8e-3; x += 0.7e-3) {
      std::vector<Complex> sums = {{3e5, -4e5}, {3e5, -4e5}};
      const auto add = [&](const Situation& s, Complex& sum) {
        Bench bench(s, Points{{x, 1e-3, 20e-3}});
        bench.set_planes(sum);
        bench.call(method);
        sum = bench.field()[0];
      };
      add(ring, sums[0]);
      add(outer, sums[1]);
      add(inner, sums[1]);
      EXPECT_EQ(sums[0], sums[1]) << x;
    }
  }
}

// In front or behind is decided in the method's own precision.
TEST(Rectangle, DecidesTheSideInItsPrecision) {
  const Situation s = typical(ShapeKind::rectangle);
  const Points point = {{1e-4, 2e-4, -1e-50}};
  EXPECT_EQ(peak(field(s, &Transducer::fnm_cw, point)), 0);
  EXPECT_EQ(peak(field(s, &Transducer::fnm_cw_sse, point)), 0);
  EXPECT_GT(peak(field(s, &Transducer::fnm_cw_single, point)), 0);
  EXPECT_GT(peak(field(s, &Transducer::fnm_cw_sse2, point)), 0);
  // So is whether a point lies over the face: this one rounds onto the edge.
  const double edge = static_cast<float>(s.a / 2);
  const Points beside = {{s.a / 2 - 1e-11, 1e-3, 4e-3}}, on = {{edge, 1e-3, 4e-3}};
  EXPECT_EQ(field(s, &Transducer::fnm_cw_single, beside), field(s, &Transducer::fnm_cw_single, on));
  EXPECT_NE(field(s, &Transducer::fnm_cw, beside), field(s, &Transducer::fnm_cw, on));
}

// The triangle computes nothing, but reads its inputs as a method does.
TEST(Triangle, WarnsAndTellsItsSettings) {
  Medium medium = lossless_medium();
  for (const auto& [frequency, warned] :
       {std::pair{1e6, false}, {0.0, true}, {1e-10, true}, {kNan, true}}) {
    medium._f0 = frequency;
    Bench bench(std::make_unique<ClosedTriangle>(), medium, kPoints, 4);
    const StandardOutput output;
    const Capture capture;
    EXPECT_EQ(bench.call(&Transducer::fnm_cw), kSuccess);
    EXPECT_EQ(capture.warnings(), warned ? Texts{kNoFrequency} : Texts{}) << frequency;
    const std::string told = output.text.str();
    EXPECT_NE(told.find("Integral info"), std::string::npos);
    EXPECT_EQ(told.find("Coordinates to calculate"), std::string::npos);
  }
}

// Within 1e-10 of it a point counts as the centre of curvature, by its distance from the axis and
// by its height.
TEST(Shells, HaveACentreOfSomeExtent) {
  for (const CwMethod& m : kCwMethods) {
    if (m.shape != ShapeKind::shell && m.shape != ShapeKind::spherical_ring) continue;
    if (m.method != &Transducer::fnm_cw && m.method != &Transducer::fnm_cw_sse) continue;
    const Situation s = typical(m.shape);
    const double rc = m.shape == ShapeKind::shell ? s.b : s.c;
    const std::vector<Complex> p =
        field(s, m.method,
              {{0, 0, rc}, {5e-11, 0, rc}, {0, 0, rc + 5e-11}, {5e-10, 0, rc}, {0, 0, rc + 5e-10}});
    for (const int same : {1, 2}) EXPECT_EQ(p[same], p[0]) << m.name;
    for (const int other : {3, 4}) EXPECT_NE(p[other], p[0]) << m.name;
  }
}

// The round planar shapes fill the shared rule over (0, pi); the others leave it alone.
TEST(SharedRule, IsTakenAsItStandsByShells) {
  for (const ShapeKind shape : {ShapeKind::shell, ShapeKind::spherical_ring}) {
    Bench bench(typical(shape), kPoints);
    bench.rule().gauss_quadrature(-0.3, 0.8);
    const double node = bench.rule().get_abscissa(0);
    bench.call(&Transducer::fnm_cw);
    EXPECT_EQ(bench.rule().get_abscissa(0), node);
    EXPECT_NE(bench.field(), field(typical(shape), &Transducer::fnm_cw, kPoints));
  }
}

TEST(SharedRule, IsRefilledByDiscAndRing) {
  for (const ShapeKind shape : kShapes) {
    Bench bench(typical(shape), kPoints);
    bench.call(&Transducer::rayleigh_cw);
    EXPECT_LT(bench.rule().get_abscissa(31), 0);
    bench.call(&Transducer::fnm_cw);
    const bool refilled = shape == ShapeKind::disc || shape == ShapeKind::ring;
    EXPECT_EQ(bench.rule().get_abscissa(31) > 0, refilled);
  }
}

// The inputs are looked at first, as in the transient methods: before a warning, before a
// negligible amplitude. A grid without points needs no planes.
TEST(ContinuousWave, RefusesMissingInputs) {
  using Take = void (*)(Transducer&);
  const Take missing[] = {
      [](Transducer& e) { e.set_integral_pointer(nullptr); },
      [](Transducer& e) { e.set_medium(nullptr); },
      [](Transducer& e) { e.set_global_coordinate_grid(nullptr); },
      [](Transducer& e) { e.set_transient_pressure_pointer(nullptr); },
      [](Transducer& e) { e.set_complex_pressure_pointers(e.real_pressure_plane(), nullptr); }};
  const standalone::Capture quiet;
  for (const test::CwMethod& method : test::kCwMethods) {
    const test::Situation s = test::typical(method.shape);
    for (const Take take : missing) {
      test::Bench bench(s, test::Points{{0, 0, 0.02}});
      bench.set_planes({3, -4});
      take(bench.element());
      EXPECT_EQ(bench.call(method.method), kMisuse) << method.name;
      EXPECT_EQ(bench.field()[0], Complex(3, -4)) << method.name;
    }
    test::Setup empty(s, test::Points{});
    EXPECT_EQ(empty.call(method.method), kSuccess) << method.name;
  }
  // The triangle needs no planes; clearing without a grid, planes or a time axis does nothing.
  for (const Take take : missing) {
    const StandardOutput output;
    Bench bench(std::make_unique<ClosedTriangle>(), lossless_medium(), kPoints, 4);
    bench.set_planes({3, -4});
    Transducer& element = bench.element();
    take(element);
    const bool no_planes = !element.real_pressure_plane() || !element.imaginary_pressure_plane();
    EXPECT_EQ(bench.call(&Transducer::fnm_cw), no_planes ? kSuccess : kMisuse);
    EXPECT_EQ(output.text.str().empty(), !no_planes);
    element.zerofill_complex_pressure();
    const bool kept = no_planes || !element.global_coordinate_grid();
    EXPECT_EQ(bench.field()[0], kept ? Complex(3, -4) : Complex(0, 0));
    double trace = 5;
    element.set_transient_pressure_pointer(&trace);
    element.zerofill_transient_pressure();
    EXPECT_EQ(trace, 5) << "without a time axis";
  }
}

}  // namespace
}  // namespace kestrel::test
