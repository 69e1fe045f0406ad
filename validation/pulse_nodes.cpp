/// Measures how many quadrature nodes a pulse takes, for docs/pulses.md:
///
///     pulse_nodes [DOCUMENT]
///
/// Every shape in several sizes, driven by short and long pulses and heard in all directions
/// before it. Replaces the table between two marks of the document, else prints it. Ends with 1
/// when a rule that the documents state does not hold.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "kestrel/excitation.h"
#include "kestrel/field.h"

namespace {

using namespace kestrel;

constexpr double kFrequency = 1e6, kSpeed = 1500, kWavelength = kSpeed / kFrequency;
constexpr double kErrors[] = {1e-3, 1e-4};

struct Face {
  const char* name;
  Geometry geometry;
  double curvature, depth;  ///< of a bowl, and from its apex to the plane of its rim
};

/// One of each kind, `size` metres along its longer side or across.
std::vector<Face> faces_of(double size) {
  const double a = size / 2, curvature = 0.94 * size;
  const double depth = curvature - std::sqrt(curvature * curvature - a * a);
  return {{"rectangle", Rectangle{0.6 * size, size}, 0, 0},
          {"disc", Circle{a}, 0, 0},
          {"ring", Ring{a / 2, a}, 0, 0},
          {"shell", Shell{a, curvature}, curvature, depth},
          {"spherical ring", ShellRing{a / 2, a, curvature}, curvature, depth}};
}

/// Points in all directions before the face, from half a wavelength off it to 40 wavelengths, and
/// in a bowl.
std::unique_ptr<CoordinateGrid> points_before(const Face& shape, double size) {
  constexpr std::size_t count = 200;
  std::mt19937_64 random(7);
  const auto uniform = [&](double from, double to) {
    return from + (to - from) * static_cast<double>(random() % 1000003) / 1000003;
  };
  std::vector<double> columns(3 * count);
  constexpr double turn = 6.283185307179586, gap = kWavelength / 2;
  for (std::size_t i = 0; i < count;) {
    // From a place within the rim, so that near points lie over the face, beside it and around it.
    const double out = size / 2 * std::sqrt(uniform(0, 1)), about = uniform(0, turn);
    const double way = gap * std::pow(80, uniform(0, 1));
    const double polar = std::acos(uniform(0, 1)), azimuth = uniform(0, turn);
    const double x = out * std::cos(about) + way * std::sin(polar) * std::cos(azimuth);
    const double y = out * std::sin(about) + way * std::sin(polar) * std::sin(azimuth);
    const double z = uniform(0, shape.depth) + gap + way * std::cos(polar);
    const bool in_bowl = std::hypot(x, y, z - shape.curvature) < shape.curvature - gap;
    if (z < shape.depth + gap && !in_bowl) continue;
    columns[i] = x;
    columns[i + count] = y;
    columns[i + 2 * count] = z;
    ++i;
  }
  auto grid = std::make_unique<CoordinateGrid>();
  grid->CoordinateGridVector(columns.data(), static_cast<int>(count));
  return grid;
}

class Job {
 public:
  Job(const Face& shape, double size, const ExcitationFunction& pulse)
      : _grid(points_before(shape, size)), _pulse(pulse) {
    _elements.push_back({.geometry = shape.geometry});
    _medium._f0 = kFrequency;
    _medium._soundspeed = kSpeed;
    _medium._rho_density = 1000;
    const double last = (43 * kWavelength + 2 * size) / kSpeed + pulse.get_pulse_width();
    _time.emplace(1 / (16.3 * kFrequency), 0, last);
  }

  std::vector<double> field(int nodes) const {
    std::vector<double> p(static_cast<std::size_t>(_grid->npoints()) *
                          static_cast<std::size_t>(_time->nt()));
    const ExcitationFunction* pulses[] = {&_pulse};
    compute_transient(nodes, pulses, p);
    return p;
  }

  /// Largest differences over the field's peak, and over the point's own.
  std::array<double, 2> errors(const std::vector<double>& p,
                               const std::vector<double>& reference) const {
    const auto n = static_cast<std::size_t>(_grid->npoints());
    std::vector<double> worst(n), peak(n);
    for (std::size_t i = 0; i < p.size(); ++i) {
      worst[i % n] = std::max(worst[i % n], std::abs(p[i] - reference[i]));
      peak[i % n] = std::max(peak[i % n], std::abs(reference[i]));
    }
    std::array<double, 2> most{};
    const double highest = *std::max_element(peak.begin(), peak.end());
    for (std::size_t i = 0; i < n; ++i) {
      most[0] = std::max(most[0], worst[i] / highest);
      most[1] = std::max(most[1], worst[i] / peak[i]);
    }
    return most;
  }

 private:
  void compute_transient(int nodes, std::span<const ExcitationFunction* const> pulses,
                         std::vector<double>& p) const {
    fields::Settings settings;
    settings.nodes = nodes;
    fields::compute_transient_field(_elements, *_grid, _medium, *_time, pulses, settings, p.data());
  }

  std::unique_ptr<CoordinateGrid> _grid;
  const ExcitationFunction& _pulse;
  std::vector<Element> _elements;
  Medium _medium;
  std::optional<TimeSamples> _time;
};

/// Numbers of nodes from which on the error stays below each of kErrors: over the field's peak,
/// then over each point's own. 0 where `most` nodes do not do.
using Needed = std::array<std::array<int, 2>, 2>;

Needed nodes_needed(const Job& job, int most, int step) {
  const std::vector<double> reference = job.field(4 * most);
  Needed needed{};
  std::array<std::array<bool, 2>, 2> held;
  for (auto& h : held) h.fill(true);
  for (int nodes = most; nodes > 0; nodes -= step) {
    const auto error = job.errors(job.field(nodes), reference);
    bool any = false;
    for (std::size_t m = 0; m < 2; ++m) {
      for (std::size_t e = 0; e < 2; ++e) {
        held[m][e] = held[m][e] && error[m] <= kErrors[e];
        if (held[m][e]) needed[m][e] = nodes;
        any = any || held[m][e];
      }
    }
    if (!any) break;
  }
  return needed;
}

std::string table;

template <class... Values>
void put(const char* format, Values... values) {
  char line[300];
  std::snprintf(line, sizeof line, format, values...);
  std::fputs(line, stdout);
  std::fflush(stdout);
  table += line;
}

std::string cell(const Needed& needed) {
  std::string text;
  for (const auto& errors : needed) {
    if (!text.empty()) text += ", ";
    for (std::size_t e = 0; e < errors.size(); ++e) {
      text += e > 0 ? " / " : "";
      text += errors[e] > 0 ? std::to_string(errors[e]) : "more";
    }
  }
  return text;
}

/// What the documents say of a Hanning pulse: nodes for 1e-3 and 1e-4 of the field's peak and for
/// 1e-3 of each point's own, for a size of s wavelengths of the pulse's highest frequency.
bool rules_hold(bool round, double s, const Needed& needed) {
  const double rules[] = {round ? 2.4 * s + 4 : 1.5 * s + 2, round ? 3 * s + 8 : 1.8 * s + 8,
                          3.6 * s + 4};
  const int measured[] = {needed[0][0], needed[0][1], needed[1][0]};
  bool hold = true;
  // A rule's result is rounded to a whole number of nodes.
  for (int i = 0; i < 3; ++i) hold = hold && measured[i] > 0 && measured[i] <= rules[i] + 0.5;
  return hold;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string begin = "<!-- nodes: begin -->\n", end = "<!-- nodes: end -->";
  std::string document;
  if (argc > 1) {
    std::ifstream in(argv[1]);
    document.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    if (document.find(begin) == std::string::npos || document.find(end) == std::string::npos) {
      std::fprintf(stderr, "%s: the marks of the table are missing\n", argv[1]);
      return 1;
    }
  }
  bool hold = true;
  put("| pulse | size | rectangle | disc | ring | shell | spherical ring |\n");
  put("|---|--:|--:|--:|--:|--:|--:|\n");
  // Tries `margin` times as many nodes as the highest frequency should take; where that is given as
  // 0, no rule is stated.
  const auto row = [&](const char* name, double s, double highest, double margin,
                       const ExcitationFunction& pulse) {
    const double size = s * kWavelength;
    put("| %s | %g |", name, s);
    const std::vector<Face> faces = faces_of(size);
    for (const Face& shape : faces) {
      const int most = static_cast<int>(margin * (6 * s * highest / kFrequency + 20));
      const Needed needed = nodes_needed(Job(shape, size, pulse), most, 1 + most / 50);
      const bool round = &shape != faces.data();
      const bool kept = highest == 0 || rules_hold(round, s * highest / kFrequency, needed);
      hold = hold && kept;
      put(" %s%s |", cell(needed).c_str(), kept ? "" : " **beyond the rule**");
    }
    put("\n");
  };
  for (const double cycles : {1.5, 3.0, 6.0}) {
    const double width = cycles / kFrequency;
    const HanningPulse hanning(1, kFrequency, width, 0, 2);
    char name[40];
    std::snprintf(name, sizeof name, "Hanning, %g cycles", cycles);
    for (const double s : {1.0, 2.0, 4.0, 8.0, 16.0}) {
      row(name, s, kFrequency + 2 / width, 1, hanning);
    }
  }
  row("t-cubed", 4, 0, 10, TCubedPulse(1, kFrequency, 7e-6, 1e6, 3));
  row("tone burst, 3 cycles", 4, 0, 30, ToneBurst(1, kFrequency, 3 / kFrequency, 0, 1));
  if (argc > 1) {
    const auto from = document.find(begin) + begin.size();
    document.replace(from, document.find(end) - from, "\n" + table + "\n");
    std::ofstream out(argv[1]);
    out << document;
    if (!out.flush()) {
      std::fprintf(stderr, "%s: cannot be written\n", argv[1]);
      return 1;
    }
  }
  if (!hold) std::fprintf(stderr, "a stated rule does not hold\n");
  return hold ? 0 : 1;
}
