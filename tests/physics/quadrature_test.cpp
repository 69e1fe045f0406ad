#include "kestrel/quadrature.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace kestrel {
namespace {

struct Rule {
  std::vector<double> nodes;
  std::vector<double> weights;
};

using Generator = void (*)(int, double*, double*);

Rule rule_of(Generator generate, int n) {
  Rule rule{std::vector<double>(n), std::vector<double>(n)};
  generate(n, rule.nodes.data(), rule.weights.data());
  return rule;
}

struct Root {
  long double node;
  long double weight;
};

/// Root i (from 0, next to +1) of the Legendre polynomial of degree n, by Newton's iteration in
/// extended precision: independent of the series that the rule is built with.
Root legendre_root(int n, int i) {
  long double x = std::cos(std::acos(-1.0L) * (i + 0.75L) / (n + 0.5L));
  long double slope = 0.0L;
  for (int iteration = 0; iteration < 6; ++iteration) {
    long double previous = 1.0L;
    long double p = x;
    for (int k = 2; k <= n; ++k) {
      const long double next = ((2 * k - 1) * x * p - (k - 1) * previous) / k;
      previous = p;
      p = next;
    }
    slope = n * (previous - x * p) / (1.0L - x * x);
    x -= p / slope;
  }
  return {x, 2.0L / ((1.0L - x * x) * slope * slope)};
}

// Errors that no rule of 1 to 200 nodes may exceed. Nodes and weights are right to their rounding
// in absolute terms; relative to itself a weight next to an end, where 1 - x^2 is small, loses
// digits with the square of the length.
constexpr long double node_budget = 1.2e-16L;
constexpr long double weight_budget = 6e-16L;
constexpr long double relative_weight_budget(int n) { return 5e-16L + 5e-17L * n * n; }

// Fields sum the nodes in this order, and symmetric points rely on the exact mirror image.
TEST(GaussLegendre, AgreesWithRootsInExtendedPrecisionDescendsAndMirrorsExactly) {
  for (const Generator generate :
       {&NumericalIntegration::grule, &NumericalIntegration::modifiedgrule}) {
    for (int n = 1; n <= 200; ++n) {
      SCOPED_TRACE("n = " + std::to_string(n));
      const Rule rule = rule_of(generate, n);
      for (int i = 0; i < n; ++i) {
        const Root root = legendre_root(n, i);
        const long double difference = std::fabs(rule.weights[i] - root.weight);
        ASSERT_LE(std::fabs(rule.nodes[i] - root.node), node_budget);
        ASSERT_LE(difference, weight_budget);
        ASSERT_LE(difference, relative_weight_budget(n) * root.weight);
        ASSERT_EQ(rule.nodes[i], -rule.nodes[n - 1 - i]);
        ASSERT_EQ(rule.weights[i], rule.weights[n - 1 - i]);
        ASSERT_TRUE(i == 0 || rule.nodes[i] < rule.nodes[i - 1]);
      }
      ASSERT_TRUE(n % 2 == 0 || rule.nodes[n / 2] == 0.0);
    }
    double untouched = 7.0;
    for (const int n : {0, -1}) generate(n, &untouched, &untouched);
    EXPECT_EQ(untouched, 7.0);
  }
}

// The second pass is for the nodes that the first one still moved, a minority, and then moves them
// by their rounding.
TEST(GaussLegendre, SecondPassTouchesFewNodesAndMovesThemByRounding) {
  int touched = 0;
  int all = 0;
  for (int n = 2; n <= 64; ++n) {
    const Rule once = rule_of(&NumericalIntegration::grule, n);
    const Rule twice = rule_of(&NumericalIntegration::modifiedgrule, n);
    for (int i = 0; i < n; ++i) {
      EXPECT_NEAR(once.nodes[i], twice.nodes[i], 2.3e-16);
      touched += once.weights[i] != twice.weights[i] ? 1 : 0;
      ++all;
    }
  }
  EXPECT_GT(touched, 0);
  EXPECT_LT(touched, all / 2);
}

/// Nodes and weights of `rule` against expected ones; compared to the bit where the numbers are
/// exact in binary.
void expect_rule(const NumericalIntegration& rule, const std::vector<double>& nodes,
                 double weight) {
  ASSERT_EQ(rule.get_npoints(), static_cast<int>(nodes.size()));
  for (int i = 0; i < rule.get_npoints(); ++i) {
    EXPECT_EQ(rule.get_abscissa(i), nodes[i]) << "node " << i;
    EXPECT_EQ(rule.get_weight(i), weight) << "weight " << i;
  }
}

TEST(MidpointRule, LiesOneCellTooLowOnAGivenInterval) {
  NumericalIntegration rule;
  rule.allocate_memory(4);
  rule.midpoint_rule();
  expect_rule(rule, {-0.75, -0.25, 0.25, 0.75}, 0.5);
  rule.midpoint_rule(1.0, 3.0);
  expect_rule(rule, {0.75, 1.25, 1.75, 2.25}, 0.5);
}

TEST(QuadratureRule, DoesNothingWithoutNodes) {
  NumericalIntegration rule;
  EXPECT_TRUE(rule.midpoint_rule());
  EXPECT_TRUE(rule.midpoint_rule(0.0, 1.0));
  EXPECT_TRUE(rule.gauss_quadrature());
  EXPECT_EQ(rule.get_npoints(), 0);
}

// Of exp(b cos t) over [0, pi], which is pi I0(b).
TEST(MappedGauss, IntegratesABesselFunction) {
  const double pi = std::acos(-1.0);
  NumericalIntegration rule;
  rule.allocate_memory(16);
  for (const bool cylindrical : {true, false}) {
    cylindrical ? rule.gauss_quadrature_cylindrical() : rule.gauss_quadrature(0, pi);
    double sum = 0.0;
    for (int i = 0; i < 16; ++i) {
      const double cosine = std::cos(rule.get_abscissa(i));
      EXPECT_TRUE(!cylindrical || rule.get_cosine(i) == cosine);
      sum += rule.get_weight(i) * std::exp(2.0 * cosine);
    }
    EXPECT_NEAR(sum, pi * std::cyl_bessel_i(0.0, 2.0), 1e-13);
    EXPECT_GT(rule.get_abscissa(0), rule.get_abscissa(15));
  }
}

// pi has fifteen digits here; with the full constant this node would be another number.
TEST(CylindricalGauss, KeepsItsTruncatedPi) {
  NumericalIntegration rule;
  rule.allocate_memory(1);
  rule.gauss_quadrature_cylindrical();
  EXPECT_EQ(rule.get_abscissa(0), 1.570796326794895);
  const Rule gauss = rule_of(&NumericalIntegration::grule, 1);
  EXPECT_EQ(rule.get_weight(0), gauss.weights[0] * 3.14159265358979 * 0.5);
}

TEST(QuadratureRule, ReadsZeroOutOfRangeAndAfterAnotherAllocation) {
  NumericalIntegration rule;
  rule.allocate_memory(64);
  rule.gauss_quadrature_cylindrical();
  rule.allocate_memory(2);
  expect_rule(rule, {0.0, 0.0}, 0.0);
  for (const int i : {-1, 1, 2, 1000000}) {
    EXPECT_EQ(rule.get_abscissa(i), 0.0);
    EXPECT_EQ(rule.get_weight(i), 0.0);
    EXPECT_EQ(rule.get_cosine(i), 0.0);
  }
}

TEST(QuadratureRule, KzkFormsShareTheFirstThreeParameters) {
  NumericalIntegration rule;
  rule.set_kzk_parameters(1.0F, 2.0F, 3.0F, 4.0F, 5.0F);
  EXPECT_EQ(rule.kzk_count(0), 0);
  rule.cw_set_kzk_parameters(6.0F, 7.0F, 8.0F, 9, 10);
  const float expected[] = {6.0F, 7.0F, 8.0F, 4.0F, 5.0F};
  for (int i = 0; i < 5; ++i) EXPECT_EQ(rule.kzk_parameter(i), expected[i]);
  EXPECT_EQ(rule.kzk_count(0), 9);
  EXPECT_EQ(rule.kzk_count(1), 10);
}

}  // namespace
}  // namespace kestrel
