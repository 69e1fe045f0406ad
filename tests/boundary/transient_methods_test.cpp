// Transient methods at the edges of their contract: missing inputs, silent elements, odd geometry,
// tables kept between calls; and memory, for all methods.

#include <gtest/gtest.h>

#include "tests/support/allocations.h"
#include "tests/support/transient_situation.h"

namespace kestrel::test {
namespace {

constexpr Method kPulsed[] = {&Transducer::fnm_transient, &Transducer::fnm_tsd,
                              &Transducer::fnm_fdtsd, &Transducer::fnm_tsd_low_precision};

/// With those that only this shape has.
std::vector<Method> pulsed_methods(ShapeKind shape) {
  std::vector<Method> methods(std::begin(kPulsed), std::end(kPulsed));
  if (shape == ShapeKind::disc) {
    methods.push_back(&Transducer::fnm_tsd_sse);
    methods.push_back(&Transducer::rayleigh_transient);
  }
  if (shape == ShapeKind::shell) {
    methods.push_back(&Transducer::fnm_transient_behind_source);
    methods.push_back(&Transducer::fnm_tsd_behind_source);
  }
  return methods;
}

const Points kPoints = {{0, 0, 10e-3}, {3e-3, 1e-3, 8e-3}, {0, 0, 15e-3}};

Situation with_nodes(Situation s, int nodes) {
  s.nodes = nodes;
  return s;
}

class TransientMethods : public testing::Test {
 protected:
  TimeSamples axis{0.1e-6, 0, 20e-6};
  Excitation signal = tone();
};

TEST_F(TransientMethods, RefuseMissingInputs) {
  using Take = void (*)(Transducer&);
  const Take missing[] = {[](Transducer& e) { e._excitation_function = nullptr; },
                          [](Transducer& e) { e.set_integral_pointer(nullptr); },
                          [](Transducer& e) { e.set_time_vector(nullptr); },
                          [](Transducer& e) { e.set_medium(nullptr); },
                          [](Transducer& e) { e.set_global_coordinate_grid(nullptr); },
                          [](Transducer& e) { e.set_transient_pressure_pointer(nullptr); }};
  for (const ShapeKind shape : kShapes) {
    for (int i = 0; i < 6; ++i) {
      TransientBench bench(typical(shape), kPoints, axis, *signal);
      bench.fill(4);
      missing[i](bench.element());
      // The response needs neither rule nor excitation.
      if (i >= 2) {
        EXPECT_EQ(bench.call(&Transducer::impulse_response), kMisuse);
      }
      bench.element().set_amplitude(0);  // the inputs are looked at first
      for (const Method method : pulsed_methods(shape)) EXPECT_EQ(bench.call(method), kMisuse);
      EXPECT_TRUE(bench.all_equal(4));
      if (shape == ShapeKind::rectangle && i < 4) {
        EXPECT_EQ(bench.call(&Transducer::init_fnm_tsd), kMisuse);
      }
    }
  }
}

TEST_F(TransientMethods, AddNothingWhereNothingSounds) {
  const auto quiet = [&](const Situation& s, const Points& points, bool with_rule = true) {
    TransientBench bench(s, points, axis, *signal);
    NumericalIntegration empty;
    if (!with_rule) bench.element().set_integral_pointer(&empty);
    bench.fill(4);
    for (const Method method : kPulsed) EXPECT_EQ(bench.call(method), kSuccess);
    return bench.all_equal(4);
  };
  for (const ShapeKind shape : kShapes) {
    Situation s = with_nodes(typical(shape), 8);
    EXPECT_FALSE(quiet(s, kPoints));
    EXPECT_TRUE(quiet(s, kPoints, false)) << "a rule without nodes";
    EXPECT_TRUE(quiet(s, {{0, 0, -9e-3}, {1e-3, 2e-3, kNan}, {25e-3, 0, -1e-3}})) << "behind";
    EXPECT_TRUE(quiet(s, {{0, 0, 1e3}})) << "too far to be heard yet";
    for (const double amplitude : {0.0, 1e-10, -1e-11}) {
      s.amplitude = amplitude;
      EXPECT_TRUE(quiet(s, kPoints)) << amplitude;
    }
  }
  // An aperture wider than its sphere.
  Situation shell = typical(ShapeKind::shell), zone = typical(ShapeKind::spherical_ring);
  for (const double curvature : {7e-3, kNan}) {
    shell.b = zone.c = curvature;
    EXPECT_TRUE(quiet(shell, kPoints));
    EXPECT_TRUE(quiet(zone, kPoints));
  }
}

TEST_F(TransientMethods, SilentSignals) {
  const HanningPulse no_amplitude(0, 1e6, 3e-6, 0, 2);
  const ToneBurst no_width(1, 1e6, 0, 0, 1), nan_width(1, 1e6, kNan, 0, 1);
  const TCubedPulse backwards(1e18, 1e6, -1e-6, 1e6, 3);
  const ExcitationFunction nothing;
  for (const ExcitationFunction* silent : std::initializer_list<const ExcitationFunction*>{
           &no_amplitude, &no_width, &nan_width, &backwards, &nothing}) {
    for (const Method method : kPulsed) {
      TransientBench bench(typical(ShapeKind::disc), kPoints, axis, *silent);
      bench.call(method);
      EXPECT_TRUE(bench.all_equal(0)) << silent->get_type();
    }
  }
}

TEST_F(TransientMethods, LeaveTheRuleOfRoundPlanarShapesOverHalfATurn) {
  for (const ShapeKind shape : kShapes) {
    TransientBench bench(typical(shape), kPoints, axis, *signal);
    bench.call(&Transducer::fnm_tsd);
    const bool refilled = shape == ShapeKind::disc || shape == ShapeKind::ring;
    EXPECT_EQ(bench.rule().get_abscissa(0) > 3, refilled);
  }
}

// ---- tables that are kept -----------------------------------------------------------------------

class KeptTables : public testing::Test {
 protected:
  KeptTables() {
    update(axis, 10);
    other_rule.allocate_memory(9);
    other_rule.gauss_quadrature();
  }
  /// The axis's first n samples, moved along.
  static void update(TimeSamples& axis, int n, double start = 5e-6) {
    const standalone::Capture quiet;
    axis.updatetimevectorfromminmaxdeltat(0.1e-6, start, start + (n - 0.5) * 0.1e-6);
  }
  int init() { return element.init_fnm_tsd(); }
  int call() { return element.call_fnm_tsd(); }
  int free() { return element.free_fnm_tsd(); }

  TimeSamples axis{0.1e-6, 0, 9.95e-6};  // 100 samples
  Excitation signal = hanning();
  TransientBench bench{with_nodes(typical(ShapeKind::rectangle), 8), kPoints, axis, *signal};
  Transducer& element = bench.element();
  NumericalIntegration other_rule;
};

TEST_F(KeptTables, GiveTheFieldOfTheUpdatedSamples) {
  ASSERT_EQ(init(), kSuccess);
  for (const int n : {100, 37, 1}) {
    for (const double start : {3e-6, 7e-6}) {
      // Everything that may change does.
      Situation s = with_nodes(typical(ShapeKind::rectangle), 8);
      s.center = {1e-3 * n, 0, 0};
      s.amplitude = n;
      s.medium._soundspeed = 1400 + n;
      update(axis, n, start);
      element.set_center(s.center);
      element.set_time_delay(1e-7 * n);
      element.set_amplitude(n);
      bench.medium() = s.medium;
      bench.fill(0);
      ASSERT_EQ(call(), kSuccess);

      TimeSamples plain(0.1e-6, start, start + (n - 0.5) * 0.1e-6);
      Traces fresh = transient(s, &Transducer::fnm_tsd, kPoints, plain, *signal, 1e-7 * n);
      for (auto& trace : fresh) trace.resize(100);
      EXPECT_EQ(bench.traces(), fresh) << n << " samples";
    }
  }
  EXPECT_EQ(free(), kSuccess);
}

TEST_F(KeptTables, AnswerMisuseAndAddNothing) {
  bench.fill(4);
  EXPECT_EQ(call(), kMisuse) << "before init";
  EXPECT_EQ(free(), kSuccess) << "nothing to free";
  ASSERT_EQ(init(), kSuccess);

  element.set_integral_pointer(&other_rule);
  EXPECT_EQ(call(), kMisuse) << "another number of nodes";
  element.set_integral_pointer(&bench.rule());

  const Excitation of_other_kind = tone(), of_as_many_terms = test::sampled(0.1);
  EXPECT_EQ(of_as_many_terms->number_of_exact_terms(), signal->number_of_exact_terms());
  for (ExcitationFunction* wrong :
       {of_other_kind.get(), of_as_many_terms.get(), static_cast<ExcitationFunction*>(nullptr)}) {
    element._excitation_function = wrong;
    EXPECT_EQ(call(), kMisuse);
  }
  element._excitation_function = signal.get();

  TimeSamples longer(0.1e-6, 0, 30e-6), never_updated(0.1e-6, 0, 5e-6);
  update(longer, 200);
  for (TimeSamples* wrong : {&longer, &never_updated}) {
    element.set_time_vector(wrong);
    EXPECT_EQ(call(), kMisuse);
  }
  element.set_time_vector(&axis);

  element.set_amplitude(0);
  EXPECT_EQ(call(), kSuccess);
  EXPECT_TRUE(bench.all_equal(4));
  element.set_amplitude(1);
  EXPECT_EQ(call(), kSuccess);
  EXPECT_FALSE(bench.all_equal(4));

  EXPECT_EQ(free(), kSuccess);
  EXPECT_EQ(free(), kSuccess) << "twice";
  EXPECT_EQ(call(), kMisuse) << "after free";
}

TEST_F(KeptTables, CanBeMadeAnew) {
  ASSERT_EQ(init(), kSuccess);
  element.set_integral_pointer(&other_rule);
  const Excitation quiet = sampled(), louder = sampled();
  element._excitation_function = quiet.get();
  ASSERT_EQ(init(), kSuccess);
  EXPECT_EQ(call(), kSuccess);
  // Another signal of the same kind and number of terms is taken as it is.
  element._excitation_function = louder.get();
  EXPECT_EQ(call(), kSuccess);
}

// ---- memory -------------------------------------------------------------------------------------

TEST_F(TransientMethods, AllocateNothingPerPoint) {
  Points many;
  for (int i = 0; i < 200; ++i) many.emplace_back(1e-4 * i, 5e-5 * i, 1e-3 + 1e-4 * i);
  const Points few = {many[1], many[2]};
  for (const ShapeKind shape : kShapes) {
    std::vector<Method> methods = {&Transducer::fnm_transient, &Transducer::fnm_tsd,
                                   &Transducer::fnm_tsd_low_precision,
                                   &Transducer::impulse_response};
    if (shape == ShapeKind::disc) methods.push_back(&Transducer::fnm_tsd_sse);
    for (const auto& [name, pulse] : excitations()) {
      for (const Method method : methods) {
        const auto allocations_of = [&, &pulse = pulse](const Points& points) {
          TransientBench bench(typical(shape), points, axis, *pulse);
          const long before = allocations();
          EXPECT_EQ(bench.call(method), kSuccess);
          return allocations() - before;
        };
        const long of_few = allocations_of(few);
        EXPECT_GT(of_few, 0);
        EXPECT_EQ(allocations_of(many), of_few) << name;
      }
    }
  }
}

/// Every allocation of a method fails once: it answers so and adds nothing, or does without. How
/// often it answered so.
template <class Attempt, class Untouched>
int refusals(const Attempt& attempt, const Untouched& untouched) {
  int refusals = 0;
  fail_each_allocation(attempt, [&](int result, bool failed) {
    if (failed && result == kOutOfMemory) {
      ++refusals;
    } else {
      EXPECT_EQ(result, kSuccess);
    }
    EXPECT_EQ(untouched(), result == kOutOfMemory);
  });
  return refusals;
}

TEST_F(TransientMethods, AnswerWhenMemoryRunsOut) {
  const Excitation pulse = hanning();
  for (const ShapeKind shape : kShapes) {
    std::vector<Method> methods = pulsed_methods(shape);
    methods.push_back(&Transducer::impulse_response);
    const Points points = {kPoints[0], kPoints[1], {0, 0, -1e-3}};  // one behind the shell
    TransientBench bench(with_nodes(typical(shape), 16), points, axis, *pulse);
    for (const Method method : methods) {
      const auto attempt = [&] {
        bench.fill(4);
        return bench.call(method);
      };
      EXPECT_GE(refusals(attempt, [&] { return bench.all_equal(4); }), 1);
    }
    if (shape != ShapeKind::rectangle) continue;
    {
      const standalone::Capture quiet;
      axis.updatetimevectorfromminmaxdeltat(0.1e-6, 0, 20e-6);
    }
    const auto init = [&] { return bench.call(&Transducer::init_fnm_tsd); };
    const auto no_tables = [&] { return bench.call(&Transducer::call_fnm_tsd) == kMisuse; };
    EXPECT_GE(refusals(init, no_tables), 1);
  }
}

TEST(ContinuousWaveMethods, AnswerWhenMemoryRunsOut) {
  for (const ShapeKind shape : kShapes) {
    Bench bench(with_nodes(typical(shape), 8), kPoints);
    const auto attempt = [&] {
      bench.set_planes({1, 2});
      return bench.call(&Transducer::fnm_cw);
    };
    const std::vector<Complex> before(kPoints.size(), {1, 2});
    EXPECT_GE(refusals(attempt, [&] { return bench.field() == before; }), 3);
  }
}

}  // namespace
}  // namespace kestrel::test
