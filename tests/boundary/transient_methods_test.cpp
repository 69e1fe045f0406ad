// Transient methods at the edges of their contract: missing inputs, silent elements, odd geometry,
// tables kept between calls, memory.

#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <new>

#include "tests/support/transient_situation.h"

namespace {

/// Counts this thread's allocations, and fails one of them on request.
thread_local long allocations = 0;
thread_local long fail_after = -1;

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  ++allocations;
  if (fail_after >= 0 && fail_after-- == 0) return nullptr;
  return std::malloc(size ? size : 1);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (void* block = operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace kestrel::test {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

constexpr Method kPulsed[] = {&Transducer::fnm_transient, &Transducer::fnm_tsd,
                              &Transducer::fnm_fdtsd, &Transducer::fnm_tsd_low_precision};

const Points kPoints = {{0, 0, 10e-3}, {3e-3, 1e-3, 8e-3}, {0, 0, 15e-3}};

TEST(TransientMethods, RefuseMissingInputs) {
  TimeSamples axis(0.1e-6, 0, 20e-6);
  const Excitation signal = tone();
  for (const ShapeKind shape : kShapes) {
    const Situation s = typical(shape);
    std::vector<Method> methods(std::begin(kPulsed), std::end(kPulsed));
    if (shape == ShapeKind::disc) {
      methods.push_back(&Transducer::fnm_tsd_sse);
      methods.push_back(&Transducer::rayleigh_transient);
    }
    if (shape == ShapeKind::shell) {
      methods.push_back(&Transducer::fnm_transient_behind_source);
      methods.push_back(&Transducer::fnm_tsd_behind_source);
    }
    using Take = void (*)(Transducer&);
    const Take missing[] = {[](Transducer& e) { e._excitation_function = nullptr; },
                            [](Transducer& e) { e.set_integral_pointer(nullptr); },
                            [](Transducer& e) { e.set_time_vector(nullptr); },
                            [](Transducer& e) { e.set_medium(nullptr); },
                            [](Transducer& e) { e.set_global_coordinate_grid(nullptr); },
                            [](Transducer& e) { e.set_transient_pressure_pointer(nullptr); }};
    for (const Take take : missing) {
      const auto element = s.element();
      Medium medium = s.medium;
      TransientBench bench(*element, medium, kPoints, 8, axis, *signal);
      bench.fill(4);
      take(*element);
      element->set_amplitude(0);  // the inputs are looked at first
      for (const Method method : methods) EXPECT_EQ(bench.call(method), kMisuse);
      EXPECT_TRUE(bench.all_equal(4));
    }
    // The response needs neither rule nor excitation.
    for (int i = 2; i < 6; ++i) {
      const auto element = s.element();
      Medium medium = s.medium;
      TransientBench bench(*element, medium, kPoints, 8, axis, *signal);
      missing[i](*element);
      EXPECT_EQ(bench.call(&Transducer::impulse_response), kMisuse);
    }
  }
}

TEST(TransientMethods, AddNothingWhereNothingSounds) {
  TimeSamples axis(0.1e-6, 0, 20e-6);
  const Excitation signal = tone();
  const auto quiet = [&](Situation s, const Points& points, int nodes) {
    const auto element = s.element();
    Medium medium = s.medium;
    TransientBench bench(*element, medium, points, std::max(nodes, 1), axis, *signal);
    NumericalIntegration empty;
    if (nodes == 0) element->set_integral_pointer(&empty);
    bench.fill(4);
    for (const Method method : kPulsed) EXPECT_EQ(bench.call(method), kSuccess);
    return bench.all_equal(4);
  };
  for (const ShapeKind shape : kShapes) {
    Situation s = typical(shape);
    EXPECT_FALSE(quiet(s, kPoints, 8));
    EXPECT_TRUE(quiet(s, kPoints, 0)) << "a rule without nodes";
    EXPECT_TRUE(quiet(s, {{0, 0, -9e-3}, {1e-3, 2e-3, kNan}, {25e-3, 0, -1e-3}}, 8)) << "behind";
    EXPECT_TRUE(quiet(s, {{0, 0, 1e3}}, 8)) << "too far to be heard yet";
    for (const double amplitude : {0.0, 1e-10, -1e-11}) {
      s.amplitude = amplitude;
      EXPECT_TRUE(quiet(s, kPoints, 8)) << amplitude;
    }
  }
  // An aperture wider than its sphere.
  Situation shell = typical(ShapeKind::shell), zone = typical(ShapeKind::spherical_ring);
  shell.b = 7e-3;
  EXPECT_TRUE(quiet(shell, kPoints, 8));
  shell.b = kNan;
  EXPECT_TRUE(quiet(shell, kPoints, 8));
  zone.c = 7e-3;
  EXPECT_TRUE(quiet(zone, kPoints, 8));
}

TEST(TransientMethods, SilentSignals) {
  TimeSamples axis(0.1e-6, 0, 20e-6);
  const HanningPulse no_amplitude(0, 1e6, 3e-6, 0, 2);
  const ToneBurst no_width(1, 1e6, 0, 0, 1), nan_width(1, 1e6, kNan, 0, 1);
  const TCubedPulse backwards(1e18, 1e6, -1e-6, 1e6, 3);
  const ExcitationFunction nothing;
  for (const ExcitationFunction* signal : std::initializer_list<const ExcitationFunction*>{
           &no_amplitude, &no_width, &nan_width, &backwards, &nothing}) {
    for (const Method method : kPulsed) {
      for (const auto& trace :
           transient(typical(ShapeKind::disc), method, kPoints, axis, *signal)) {
        EXPECT_EQ(peak(trace), 0) << signal->get_type();
      }
    }
  }
}

TEST(TransientMethods, LeaveTheRuleOfRoundPlanarShapesOverHalfATurn) {
  TimeSamples axis(0.1e-6, 0, 20e-6);
  for (const ShapeKind shape : kShapes) {
    const Situation s = typical(shape);
    const auto element = s.element();
    Medium medium = s.medium;
    const Excitation signal = tone();
    TransientBench bench(*element, medium, kPoints, 8, axis, *signal);
    bench.call(&Transducer::fnm_tsd);
    const bool refilled = shape == ShapeKind::disc || shape == ShapeKind::ring;
    EXPECT_EQ(bench.rule().get_abscissa(0) > 3, refilled);
  }
}

// ---- tables that are kept
// ------------------------------------------------------------------------

class KeptTables : public testing::Test {
 protected:
  KeptTables() : element(6e-3, 10e-3), medium(lossless_medium()) {
    bench = std::make_unique<TransientBench>(element, medium, kPoints, 8, axis, *signal);
    update(10);
  }
  /// The axis's first n samples, moved along.
  void update(int n, double start = 5e-6) {
    const standalone::Capture quiet;
    axis.updatetimevectorfromminmaxdeltat(0.1e-6, start, start + (n - 0.5) * 0.1e-6);
  }
  int init() { return element.init_fnm_tsd(); }
  int call() { return element.call_fnm_tsd(); }
  int free() { return element.free_fnm_tsd(); }

  TimeSamples axis{0.1e-6, 0, 9.95e-6};  // 100 samples
  RectangularTransducer element;
  Medium medium;
  Excitation signal = hanning();
  std::unique_ptr<TransientBench> bench;
};

TEST_F(KeptTables, GiveTheFieldOfTheUpdatedSamples) {
  ASSERT_EQ(init(), kSuccess);
  for (const int n : {100, 37, 1}) {
    for (const double start : {3e-6, 7e-6}) {
      update(n, start);
      // Everything that may change does.
      element.set_center(1e-3 * n, 0, 0);
      element.set_time_delay(1e-7 * n);
      element.set_amplitude(n);
      medium._soundspeed = 1400 + n;
      TimeSamples plain(0.1e-6, start, start + (n - 0.5) * 0.1e-6);
      bench->fill(0);
      ASSERT_EQ(call(), kSuccess);
      const Traces kept = bench->traces();

      Situation s = typical(ShapeKind::rectangle);
      s.nodes = 8, s.medium = medium, s.amplitude = n;
      s.center = element.get_center();
      const Traces fresh = transient(s, &Transducer::fnm_tsd, kPoints, plain, *signal, 1e-7 * n);
      for (std::size_t p = 0; p < kPoints.size(); ++p) {
        for (int i = 0; i < axis.nt(); ++i) {
          EXPECT_EQ(kept[p][i], i < n ? fresh[p][i] : 0) << n << " samples, " << i;
        }
      }
    }
  }
  EXPECT_EQ(free(), kSuccess);
}

TEST_F(KeptTables, AnswerMisuseAndAddNothing) {
  bench->fill(4);
  EXPECT_EQ(call(), kMisuse) << "before init";
  EXPECT_EQ(free(), kSuccess) << "nothing to free";
  ASSERT_EQ(init(), kSuccess);

  NumericalIntegration other;
  other.allocate_memory(9);
  other.gauss_quadrature();
  element.set_integral_pointer(&other);
  EXPECT_EQ(call(), kMisuse) << "another number of nodes";
  element.set_integral_pointer(&bench->rule());

  const Excitation of_other_kind = tone();
  element._excitation_function = of_other_kind.get();
  EXPECT_EQ(call(), kMisuse);
  element._excitation_function = nullptr;
  EXPECT_EQ(call(), kMisuse);
  element._excitation_function = signal.get();

  TimeSamples longer(0.1e-6, 0, 30e-6), never_updated(0.1e-6, 0, 5e-6);
  {
    const standalone::Capture quiet;
    longer.updatetimevectorfromminmaxdeltat(0.1e-6, 0, 20e-6);
  }
  for (TimeSamples* wrong : {&longer, &never_updated}) {
    element.set_time_vector(wrong);
    EXPECT_EQ(call(), kMisuse);
  }
  element.set_time_vector(&axis);
  EXPECT_TRUE(bench->all_equal(4));

  element.set_amplitude(0);
  EXPECT_EQ(call(), kSuccess);
  EXPECT_TRUE(bench->all_equal(4));
  element.set_amplitude(1);
  EXPECT_EQ(call(), kSuccess);
  EXPECT_FALSE(bench->all_equal(4));

  EXPECT_EQ(free(), kSuccess);
  EXPECT_EQ(free(), kSuccess) << "twice";
  EXPECT_EQ(call(), kMisuse) << "after free";
}

TEST_F(KeptTables, CanBeMadeAnew) {
  ASSERT_EQ(init(), kSuccess);
  NumericalIntegration other;
  other.allocate_memory(9);
  other.gauss_quadrature();
  element.set_integral_pointer(&other);
  const Excitation sampled_signal = sampled();
  element._excitation_function = sampled_signal.get();
  ASSERT_EQ(init(), kSuccess);
  EXPECT_EQ(call(), kSuccess);
  // Another signal of the same kind and number of terms is taken as it is.
  const Excitation louder = sampled();
  element._excitation_function = louder.get();
  EXPECT_EQ(call(), kSuccess);
  for (const auto take : {+[](Transducer& e) { e._excitation_function = nullptr; },
                          +[](Transducer& e) { e.set_integral_pointer(nullptr); },
                          +[](Transducer& e) { e.set_time_vector(nullptr); }}) {
    RectangularTransducer bare(6e-3, 10e-3);
    TransientBench inputs(bare, medium, kPoints, 8, axis, *signal);
    take(bare);
    EXPECT_EQ(bare.init_fnm_tsd(), kMisuse);
  }
}

// ---- memory
// --------------------------------------------------------------------------------------

long allocations_of(const Situation& s, Method method, const Points& points,
                    const ExcitationFunction& signal) {
  TimeSamples axis(0.1e-6, 0, 20e-6);
  const auto element = s.element();
  Medium medium = s.medium;
  TransientBench bench(*element, medium, points, 16, axis, signal);
  const long before = allocations;
  EXPECT_EQ(bench.call(method), kSuccess);
  return allocations - before;
}

TEST(TransientMethods, AllocateNothingPerPoint) {
  Points many;
  for (int i = 0; i < 200; ++i) many.emplace_back(1e-4 * i, 5e-5 * i, 1e-3 + 1e-4 * i);
  const Points few = {many[1], many[2]};
  for (const ShapeKind shape : kShapes) {
    const Situation s = typical(shape);
    for (const auto& [name, signal] : excitations()) {
      for (const Method method :
           {&Transducer::fnm_transient, &Transducer::fnm_tsd, &Transducer::fnm_tsd_low_precision,
            &Transducer::impulse_response, &Transducer::fnm_tsd_sse}) {
        if (method == &Transducer::fnm_tsd_sse && shape != ShapeKind::disc) continue;
        const long of_few = allocations_of(s, method, few, *signal);
        EXPECT_GT(of_few, 0);
        EXPECT_EQ(allocations_of(s, method, many, *signal), of_few) << name;
      }
    }
  }
}

TEST(TransientMethods, AnswerWhenMemoryRunsOut) {
  TimeSamples axis(0.1e-6, 0, 20e-6);
  for (const ShapeKind shape : kShapes) {
    const Situation s = typical(shape);
    const auto element = s.element();
    Medium medium = s.medium;
    const Excitation signal = hanning();
    TransientBench bench(*element, medium, kPoints, 16, axis, *signal);
    bench.fill(4);
    std::vector<Method> methods(std::begin(kPulsed), std::end(kPulsed));
    methods.push_back(&Transducer::impulse_response);
    if (shape == ShapeKind::rectangle) methods.push_back(&Transducer::init_fnm_tsd);
    if (shape == ShapeKind::disc) {
      methods.push_back(&Transducer::fnm_tsd_sse);
      methods.push_back(&Transducer::rayleigh_transient);
    }
    for (const Method method : methods) {
      // Every allocation fails once; then all succeed.
      int result = -1;
      for (long n = 0; result != kSuccess; ++n) {
        ASSERT_LT(n, 1000);
        ASSERT_TRUE(bench.all_equal(4)) << n;
        fail_after = n;
        result = bench.call(method);
        fail_after = -1;
        if (result != kSuccess) {
          ASSERT_EQ(result, kOutOfMemory) << n;
        }
      }
      bench.fill(4);
    }
  }
}

}  // namespace
}  // namespace kestrel::test
