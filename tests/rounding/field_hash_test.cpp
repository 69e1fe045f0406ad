// The bits of every field. A row of the table holds, for one method of one shape, a hash of its
// results on each instruction set: whoever changes a loop sees at once whether a field changed, and
// which. A hash says only that: a change that is meant comes with a new row.
//
// `test_rounding --write-field-hashes tests/rounding/field_hashes.inc` writes the table anew.
//
// The same bits need the same sines and exponentials. A mathematical library that rounds otherwise
// than the table's is met by skipping the test; a processor with another approximate reciprocal by
// leaving out the one method that uses it.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <string>

#include "kestrel/four_wide.h"
#include "kestrel/instruction_set.h"
#include "tests/support/situation.h"
#include "tests/support/transient_situation.h"

namespace kestrel::test {
namespace {

constexpr InstructionSet kSets[] = {InstructionSet::scalar, InstructionSet::baseline,
                                    InstructionSet::avx2, InstructionSet::avx512};

/// Hashes of one row, by instruction set.
struct Hashes {
  std::uint64_t of[std::size(kSets)] = {};
};
struct Row {
  const char* name;
  Hashes hashes;
};

#include "tests/rounding/field_hashes.inc"

/// FNV-1a over the bytes of numbers. Every NaN counts as the same: its sign and payload are the
/// compiler's choice.
class Hash {
 public:
  void add(double x) {
    if (std::isnan(x)) x = kNan;
    unsigned char bytes[sizeof x];
    std::memcpy(bytes, &x, sizeof x);
    for (const unsigned char byte : bytes) _value = (_value ^ byte) * 0x100000001b3;
  }
  void add(const std::vector<double>& values) {
    for (const double x : values) add(x);
  }
  std::uint64_t value() const { return _value; }

 private:
  std::uint64_t _value = 0xcbf29ce484222325;
};

/// What the mathematical library gives for arguments such as the fields have.
std::uint64_t library_functions() {
  Hash hash;
  for (int i = 1; i <= 4000; ++i) {
    const volatile double x = i * 0x1p-6, y = i * 0x1p-12;
    for (const double f : {std::sin(x), std::cos(x), std::exp(-x), std::atan(x), std::asin(y),
                           std::acos(y), std::pow(10.0, -y), std::hypot(x, y)}) {
      hash.add(f);
    }
  }
  return hash.value();
}

std::uint64_t approximate_reciprocal() {
  Hash hash;
  for (int i = 1; i <= 4000; ++i) {
    hash.add(double{rcp(float4::splat(static_cast<float>(i) * 0x1p-6F)).lane(0)});
  }
  return hash.value();
}

// Lengths are whole multiples of `unit` and everything else is exact in binary too, so that no
// decimal rounding stands between the table and another compiler.
constexpr double unit = 0x1p-10;

Situation scene(ShapeKind shape, bool turned_in_loss) {
  constexpr double sizes[][3] = {{6, 10, 0}, {5, 0, 0}, {3, 6, 0}, {8, 15, 0}, {4, 8, 15}};
  const auto& [a, b, c] = sizes[static_cast<int>(shape)];
  Situation s;
  s.shape = shape;
  s.a = a * unit;
  s.b = b * unit;
  s.c = c * unit;
  s.amplitude = 0.75;
  s.nodes = 13;
  s.medium._f0 = 0x1p20;
  s.medium._soundspeed = 1536;
  s.profile = 2;
  if (turned_in_loss) {
    s.phase = 0.625;
    s.center = {unit, -2 * unit, 0.5 * unit};
    s.euler = {0.25, -0.375, 1.5};
    s.medium._dBcmMHz = 0.5;
  }
  return s;
}

/// 101 points, a prime: the axis, the edges and corners of all five shapes, planes of symmetry, the
/// face's own plane, the centre of curvature, behind; and a handful drawn from all round.
Points points() {
  Points points;
  constexpr double across[][2] = {{0, 0},  {3, 0},  {0, 5}, {-3, 5}, {6, 0},  {0, -8},
                                  {2, -1}, {-2, 1}, {4, 3}, {11, 9}, {0.5, 0}};
  for (const double z : {-2.0, 0.0, 0.25, 3.0, 15.0, 16.0, 40.0}) {
    for (const auto& [x, y] : across) points.emplace_back(x * unit, y * unit, z * unit);
  }
  std::uint32_t state = 12345;
  const auto draw = [&] {
    state = state * 1664525U + 1013904223U;
    return static_cast<int>(state >> 20);
  };
  while (points.size() < 101) {
    const int x = draw() - 2048, y = draw() - 2048, z = draw();
    points.emplace_back(x * unit / 128, y * unit / 128, z * unit / 64);
  }
  return points;
}

/// Samples in whole 32nds of a signal with a mean.
Excitation coarse_samples() {
  std::vector<double> signal;
  for (int i = 0; i < 60; ++i) {
    signal.push_back(std::round(32 * std::sin(i * M_PI / 10) * std::sin(i * M_PI / 60)) / 32);
  }
  signal[31] += 0.25;
  return std::make_shared<ExcitationFunction>(signal, 0x1p-24, 60 * 0x1p-24, 0);
}

std::vector<NamedExcitation> signals() {
  constexpr double f0 = 0x1p20, width = 3 * 0x1p-20;
  return {{"tone", std::make_shared<ToneBurst>(1, f0, width, 0, 1)},
          {"hanning", std::make_shared<HanningPulse>(2.5, f0, width, 0, 2)},
          {"t-cubed", std::make_shared<TCubedPulse>(0x1p61, f0, 2 * width, 2.5 * f0, 3)},
          {"sampled", coarse_samples()}};
}

const char* name_of(ShapeKind shape) {
  constexpr const char* names[] = {"rectangle", "disc", "ring", "shell", "spherical_ring"};
  return names[static_cast<int>(shape)];
}

struct NamedMethod {
  const char* name;
  std::function<int(Transducer&)> call;
};
#define KESTREL_SLOT(name)                                     \
  {                                                            \
#name, [](Transducer & element) { return element.name(); } \
  }
const NamedMethod kContinuous[] = {
    KESTREL_SLOT(farfield_cw),     KESTREL_SLOT(fnm_cw),      KESTREL_SLOT(fnm_cw_apodized),
    KESTREL_SLOT(fnm_cw_single),   KESTREL_SLOT(fnm_cw_sse),  KESTREL_SLOT(fnm_cw_sse2),
    KESTREL_SLOT(radiator_cw),     KESTREL_SLOT(rayleigh_cw), KESTREL_SLOT(rayleigh_cw_apodized),
    KESTREL_SLOT(rayleigh_cw_sse),
};
const NamedMethod kTransient[] = {
    KESTREL_SLOT(fnm_transient),
    KESTREL_SLOT(fnm_transient_behind_source),
    KESTREL_SLOT(fnm_fdtsd),
    KESTREL_SLOT(fnm_tsd),
    KESTREL_SLOT(fnm_tsd_behind_source),
    KESTREL_SLOT(fnm_tsd_low_precision),
    KESTREL_SLOT(fnm_tsd_sse),
    KESTREL_SLOT(rayleigh_transient),
};
const NamedMethod kResponse = KESTREL_SLOT(impulse_response);
const NamedMethod kSpan = KESTREL_SLOT(impulse_begin_and_end_times);
const NamedMethod kMarch = KESTREL_SLOT(kzk_cw), kMarchedPulse = KESTREL_SLOT(kzk_transient);
#undef KESTREL_SLOT
const NamedMethod kLossless = {"farfield_cw_lossless", [](Transducer& element) {
                                 auto* face = dynamic_cast<RectangularTransducer*>(&element);
                                 return face ? face->farfield_cw_lossless() : kNotImplemented;
                               }};
const NamedMethod kThreeSteps = {"call_fnm_tsd", [](Transducer& element) {
                                   if (!dynamic_cast<RectangularTransducer*>(&element)) {
                                     return int{kNotImplemented};
                                   }
                                   element.init_fnm_tsd();
                                   const int result = element.call_fnm_tsd();
                                   element.free_fnm_tsd();
                                   return result;
                                 }};

using Table = std::map<std::string, Hashes>;

/// The rows of every method that a shape has.
class Tabulation {
 public:
  Table table() {
    for (_set = 0; _set < std::size(kSets); ++_set) {
      if (!is_supported(kSets[_set])) continue;
      rule("grule", NumericalIntegration::grule);
      rule("modifiedgrule", NumericalIntegration::modifiedgrule);
    }
    for (_set = 0; _set < std::size(kSets); ++_set) {
      const ScopedInstructionSet scope(kSets[_set]);
      if (!scope.chosen()) continue;
      for (const ShapeKind shape : kShapes) tabulate(shape);
    }
    return _table;
  }

 private:
  void note(const std::string& row, const Hash& hash) { _table[row].of[_set] = hash.value(); }

  /// Nodes and weights, which every field rests on.
  void rule(const char* name, void (*fill)(int, double*, double*)) {
    Hash hash;
    for (int n = 1; n <= 400; ++n) {
      std::vector<double> nodes(n), weights(n);
      fill(n, nodes.data(), weights.data());
      hash.add(nodes);
      hash.add(weights);
    }
    note(name, hash);
  }

  void tabulate(ShapeKind shape) {
    const std::string prefix = name_of(shape) + std::string(" ");
    for (const NamedMethod& method : kContinuous) continuous(prefix, shape, method);
    continuous(prefix, shape, kLossless);
    for (const auto& [signal, excitation] : signals()) {
      for (const NamedMethod& method : kTransient) {
        traces(prefix, shape, method, " " + signal, *excitation);
      }
      traces(prefix, shape, kThreeSteps, " " + signal, *excitation);
    }
    traces(prefix, shape, kResponse, "", *signals()[0].signal);
    traces(prefix, shape, kSpan, "", *signals()[0].signal);
    if (shape == ShapeKind::disc || shape == ShapeKind::shell) {
      continuous(prefix, shape, kMarch);
      traces(prefix, shape, kMarchedPulse, " hanning", *signals()[1].signal);
    }
  }

  void continuous(const std::string& prefix, ShapeKind shape, const NamedMethod& method) {
    for (const bool turned : {false, true}) {
      const bool marched = &method == &kMarch;
      Situation s = scene(shape, turned);
      if (marched) s.amplitude = 0.0625, s.nodes = 32, s.medium._beta = 3.5;
      const std::vector<Point> where = points();
      Bench bench(s, where);
      if (marched) bench.rule().cw_set_kzk_parameters(0, 0, 0, 3, 2);
      const int result = method.call(bench.element());
      if (result == kNotImplemented) return;
      Hash hash;
      hash.add(result);
      for (const Complex p : bench.field()) {
        hash.add(p.real());
        hash.add(p.imag());
      }
      note(prefix + method.name + (turned ? " turned, in loss" : ""), hash);
    }
  }

  void traces(const std::string& prefix, ShapeKind shape, const NamedMethod& method,
              const std::string& signal, const ExcitationFunction& excitation) {
    Hash hash;
    for (const bool turned : {false, true}) {
      Situation s = scene(shape, turned);
      if (&method == &kMarchedPulse) {
        if (turned) continue;
        s.amplitude = 0.0625, s.nodes = 32, s.medium._beta = 3.5;
      }
      TimeSamples axis(0x1p-23, 0, 331 * 0x1p-23);
      TransientBench bench(s, points(), axis, excitation);
      // A coarse march: its steps are the same, and there are fewer of them.
      if (&method == &kMarchedPulse) bench.rule().set_kzk_parameters(4, 0.05F, 3, 20, 1);
      bench.element().set_time_delay(turned ? 0x1p-20 : 0);
      const int result = method.call(bench.element());
      if (result == kNotImplemented) return;
      hash.add(result);
      for (const std::vector<double>& trace : bench.traces()) hash.add(trace);
      if (&method == &kSpan) {
        hash.add(bench.element().get_impulse_begin_time());
        hash.add(bench.element().get_impulse_end_time());
      }
    }
    note(prefix + method.name + signal, hash);
  }

  Table _table;
  std::size_t _set = 0;
};

Table known_table() {
  Table table;
  for (const Row& row : kRows) table[row.name] = row.hashes;
  return table;
}

/// The Fourier transform forms its factors in long double.
bool uses_transform(const std::string& row) {
  return row.ends_with(" sampled") || row.find(" kzk_transient") != std::string::npos;
}

TEST(Fields, HaveTheBitsOfTheTable) {
  if (library_functions() != kLibraryFunctions) {
    GTEST_SKIP() << "this machine's sines and exponentials are not the table's";
  }
  const standalone::Capture quiet;
  const bool same_reciprocal = approximate_reciprocal() == kApproximateReciprocal;
  const bool same_long_double = std::numeric_limits<long double>::digits == 64;
  Table unmet = known_table();
  for (const auto& [row, hashes] : Tabulation().table()) {
    if (!unmet.contains(row)) {
      ADD_FAILURE() << row << " has no row in the table";
      continue;
    }
    const Hashes expected = unmet.extract(row).mapped();
    if (row.starts_with("disc fnm_cw_sse") && !same_reciprocal) continue;
    if (uses_transform(row) && !same_long_double) continue;
    for (std::size_t i = 0; i < std::size(kSets); ++i) {
      if (!is_supported(kSets[i])) continue;
      EXPECT_EQ(hashes.of[i], expected.of[i]) << row << " changed on " << name(kSets[i]);
    }
  }
  for (const auto& [row, hashes] : unmet) ADD_FAILURE() << row << " was not computed";
}

/// Keeps what the table knew of instruction sets that this machine lacks.
bool write_table(const char* path) {
  const standalone::Capture quiet;
  std::FILE* file = std::fopen(path, "w");
  if (!file) return false;
  std::fprintf(file,
               "// Written by `test_rounding --write-field-hashes`.\n"
               "// clang-format off\n"
               "constexpr std::uint64_t kLibraryFunctions = 0x%016llx;\n"
               "constexpr std::uint64_t kApproximateReciprocal = 0x%016llx;\n"
               "const Row kRows[] = {\n",
               static_cast<unsigned long long>(library_functions()),
               static_cast<unsigned long long>(approximate_reciprocal()));
  Table known = known_table();
  for (const auto& [row, hashes] : Tabulation().table()) {
    std::fprintf(file, "  {\"%s\", {{", row.c_str());
    for (std::size_t i = 0; i < std::size(kSets); ++i) {
      const std::uint64_t hash = is_supported(kSets[i]) ? hashes.of[i] : known[row].of[i];
      std::fprintf(file, "%s0x%016llx", i == 0 ? "" : ", ", static_cast<unsigned long long>(hash));
    }
    std::fprintf(file, "}}},\n");
  }
  std::fprintf(file, "};\n");
  return std::fclose(file) == 0;
}

}  // namespace
}  // namespace kestrel::test

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc == 3 && std::strcmp(argv[1], "--write-field-hashes") == 0) {
    return kestrel::test::write_table(argv[2]) ? 0 : 1;
  }
  return RUN_ALL_TESTS();
}
