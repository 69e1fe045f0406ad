/// Speed of every continuous-wave method: points per second on each path that this processor has,
/// for 8, 16 and 32 nodes, with and without loss, and how many times the plain scalar path it is.
///
/// A ratio is taken inside one benchmark: the two paths run in turn, each pair of runs gives a
/// quotient of processor times, and their median counts; so other programs and a changing clock
/// disturb little. Four-wide methods have one path; they are
/// compared with the scalar path of the double method that they approximate. The program ends with
/// a table in Markdown.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <complex>
#include <cstdio>
#include <ctime>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kestrel/elements.h"
#include "kestrel/grid.h"
#include "kestrel/instruction_set.h"
#include "kestrel/medium.h"
#include "kestrel/quadrature.h"
#include "services/off_host_thread.h"

namespace {

using namespace kestrel;
using Method = int (Transducer::*)();

constexpr double kSecondsPerBenchmark = 0.2;
constexpr int kNodes[] = {8, 16, 32};
constexpr double mm = 1e-3;

struct Subject {
  const char* shape;
  const char* method;
  Method run;
  std::function<std::unique_ptr<Transducer>()> make;
  double plane_y =
      1.1 * mm;             ///< 0: the symmetry plane, where a rectangle's integrals come in pairs
  bool every_pair = false;  ///< n^2 terms a point
  Method counterpart = nullptr;  ///< of a four-wide method: the double method it approximates
  bool one_path = false;         ///< no vector path

  std::string name() const {
    return std::string(shape) + "/" + method + (plane_y == 0 ? "/symmetry_plane" : "");
  }
};

std::vector<Subject> subjects() {
  const auto rectangle = [] {
    return std::make_unique<RectangularTransducer>(6 * mm, 10 * mm, 1.0, 0.0);
  };
  const auto disc = [] { return std::make_unique<CircularTransducer>(7.5 * mm, 1.0, 0.0); };
  const auto apodized = [] {
    auto element = std::make_unique<CircularTransducer>(7.5 * mm, 1.0, 0.0);
    element->set_piston_apodization_index(2);
    return element;
  };
  const auto ring = [] { return std::make_unique<RingTransducer>(4 * mm, 7.5 * mm, 1.0, 0.0); };
  const auto shell = [] {
    return std::make_unique<SphericalTransducer>(15 * mm, 40 * mm, 1.0, 0.0);
  };
  const auto shell_ring = [] {
    return std::make_unique<SphericalRingTransducer>(8 * mm, 15 * mm, 40 * mm, 1.0, 0.0);
  };
  constexpr double off = 1.1 * mm;
  using T = Transducer;
  return {
      {"rectangle", "fnm_cw_single", &T::fnm_cw_single, rectangle},
      {"rectangle", "fnm_cw_single", &T::fnm_cw_single, rectangle, 0},
      {"rectangle", "fnm_cw", &T::fnm_cw, rectangle},
      {"rectangle", "fnm_cw", &T::fnm_cw, rectangle, 0},
      {"rectangle", "fnm_cw_sse", &T::fnm_cw_sse, rectangle, off, false, &T::fnm_cw},
      {"rectangle", "fnm_cw_sse2", &T::fnm_cw_sse2, rectangle, off, false, &T::fnm_cw},
      {"rectangle", "rayleigh_cw", &T::rayleigh_cw, rectangle, off, true},
      {"rectangle", "rayleigh_cw_sse", &T::rayleigh_cw_sse, rectangle, off, true, &T::rayleigh_cw},
      {"rectangle", "radiator_cw", &T::radiator_cw, rectangle, off, true, nullptr, true},
      {"rectangle", "farfield_cw", &T::farfield_cw, rectangle, off, false, nullptr, true},
      {"circular", "fnm_cw", &T::fnm_cw, disc},
      {"circular", "fnm_cw_apodized", &T::fnm_cw_apodized, apodized, off, true},
      {"circular", "fnm_cw_sse", &T::fnm_cw_sse, disc, off, false, &T::fnm_cw},
      {"circular", "rayleigh_cw", &T::rayleigh_cw, disc, off, true},
      {"circular", "rayleigh_cw_apodized", &T::rayleigh_cw_apodized, apodized, off, true},
      {"circular", "rayleigh_cw_sse", &T::rayleigh_cw_sse, disc, off, true, &T::rayleigh_cw},
      {"ring", "fnm_cw", &T::fnm_cw, ring},
      {"ring", "rayleigh_cw", &T::rayleigh_cw, ring, off, true},
      {"shell", "fnm_cw", &T::fnm_cw, shell},
      {"shell", "fnm_cw_sse", &T::fnm_cw_sse, shell, off, false, &T::fnm_cw},
      {"shell", "rayleigh_cw", &T::rayleigh_cw, shell, off, true},
      {"shell", "rayleigh_cw_sse", &T::rayleigh_cw_sse, shell, off, true, &T::rayleigh_cw},
      {"spherical_ring", "fnm_cw", &T::fnm_cw, shell_ring},
      {"spherical_ring", "rayleigh_cw", &T::rayleigh_cw, shell_ring, off, true},
  };
}

/// An element in front of a plane of points that lie inside and outside its extent.
class Scene {
 public:
  Scene(const Subject& subject, int nodes, bool lossy) : _element(subject.make()) {
    _medium._f0 = 1e6;
    _medium._soundspeed = 1500;
    _medium._rho_density = 1000;
    _medium._dBcmMHz = lossy ? 1 : 0;
    // A scalar pass takes some 1 to 10 ms.
    const int rows = subject.every_pair ? (nodes > 8 ? 2 : 4) : (nodes > 8 ? 6 : 12);
    _grid.RegularCoordinateGrid(-9.9 * mm, 9.9 * mm, subject.plane_y, subject.plane_y, 2 * mm,
                                (2 + rows - 1) * mm, 19.8 * mm / 127, 0, mm);
    _rule.allocate_memory(nodes);
    _rule.gauss_quadrature();
    const auto n = static_cast<std::size_t>(_grid.npoints());
    _re.resize(n);
    _im.resize(n);
    _element->set_medium(&_medium);
    _element->set_global_coordinate_grid(&_grid);
    _element->set_integral_pointer(&_rule);
    _element->set_complex_pressure_pointers(_re.data(), _im.data());
  }

  /// Seconds of processor time of one run.
  double time(Method method, InstructionSet set) {
    const ScopedInstructionSet scope(set);
    const std::clock_t start = std::clock();
    (_element.get()->*method)();
    benchmark::ClobberMemory();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  }

  std::vector<std::complex<double>> field(Method method, InstructionSet set) {
    _element->zerofill_complex_pressure();
    time(method, set);
    std::vector<std::complex<double>> field;
    for (std::size_t i = 0; i < _re.size(); ++i) field.emplace_back(_re[i], _im[i]);
    _element->zerofill_complex_pressure();
    return field;
  }

  int points() const { return _grid.npoints(); }

 private:
  std::unique_ptr<Transducer> _element;
  Medium _medium;
  CoordinateGrid _grid;
  NumericalIntegration _rule;
  std::vector<double> _re, _im;
};

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// Largest difference of two fields as a fraction of the peak.
double difference(const std::vector<std::complex<double>>& field,
                  const std::vector<std::complex<double>>& other) {
  double worst = 0, peak = 0;
  for (std::size_t i = 0; i < field.size(); ++i) {
    worst = std::max(worst, std::abs(field[i] - other[i]));
    peak = std::max(peak, std::abs(other[i]));
  }
  return worst / peak;
}

void measure(benchmark::State& state, const Subject& subject, int nodes, bool lossy,
             InstructionSet set) {
  services::Messages unread;
  const services::OffHostThread quiet(unread);  // one method prints its number of nodes
  Scene scene(subject, nodes, lossy);
  const Method scalar = subject.counterpart != nullptr ? subject.counterpart : subject.run;
  const double off =
      difference(scene.field(subject.run, set), scene.field(scalar, InstructionSet::scalar));
  for (auto _ : state) {
    std::vector<double> fast, ratios;
    const auto start = std::chrono::steady_clock::now();
    do {
      const double plain = subject.one_path ? 0 : scene.time(scalar, InstructionSet::scalar);
      fast.push_back(scene.time(subject.run, set));
      ratios.push_back(plain / fast.back());
    } while (fast.size() < 5 || std::chrono::steady_clock::now() - start <
                                    std::chrono::duration<double>(kSecondsPerBenchmark));
    state.SetIterationTime(median(fast));
    state.counters["points_per_s"] = scene.points() / median(fast);
    if (!subject.one_path) {
      state.counters["times_scalar"] = median(ratios);
      state.counters["difference"] = off;
    }
  }
}

/// Prints as usual, remembers the ratios, and ends with the table.
class TableReporter : public benchmark::ConsoleReporter {
 public:
  TableReporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred || run.run_type == Run::RT_Aggregate) continue;
      // shape/method[/symmetry_plane]/loss/nodes/path
      const std::string& name = run.run_name.function_name;
      const std::size_t path = name.rfind('/'), nodes = name.rfind('/', path - 1);
      const std::string row = name.substr(0, nodes);
      if (_cells.count(row) == 0) _rows.push_back(row);
      Cell& cell = _cells[row][name.substr(path + 1)];
      append(cell.rates, run.counters.at("points_per_s") / 1e6, "%.3g");
      if (run.counters.count("times_scalar") != 0) {
        append(cell.ratios, run.counters.at("times_scalar"), "%.1f");
      }
    }
  }

  void Finalize() override {
    const char* paths[] = {"scalar", "four_wide", "baseline", "avx2", "avx512", "neon"};
    std::string head = "| |", rule = "|---|";
    std::vector<std::string> present;
    for (const char* path : paths) {
      const bool any = std::any_of(_cells.begin(), _cells.end(),
                                   [&](const auto& row) { return row.second.count(path) != 0; });
      if (any) present.emplace_back(path);
    }
    for (const std::string& path : present) {
      head += path == "scalar" ? " scalar, 10^6 points/s |"
                               : " " + path + ", 10^6 points/s | times scalar |";
      rule += path == "scalar" ? "---:|" : "---:|---:|";
    }
    std::cout << "\nEach cell: 8 / 16 / 32 nodes.\n\n" << head << '\n' << rule << '\n';
    for (const std::string& row : _rows) {
      std::cout << "| " << row << " |";
      for (const std::string& path : present) {
        const Cell& cell = _cells[row][path];
        std::cout << ' ' << cell.rates << " |";
        if (path != "scalar") std::cout << ' ' << cell.ratios << " |";
      }
      std::cout << '\n';
    }
  }

 private:
  struct Cell {
    std::string rates, ratios;
  };
  static void append(std::string& cell, double value, const char* format) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    cell += (cell.empty() ? "" : " / ") + std::string(text);
  }

  std::vector<std::string> _rows;
  std::map<std::string, std::map<std::string, Cell>> _cells;
};

void register_all(const std::vector<Subject>& all) {
  const std::vector<InstructionSet> sets = supported_instruction_sets();
  for (const Subject& subject : all) {
    for (const bool lossy : {false, true}) {
      for (const int nodes : kNodes) {
        for (const InstructionSet set : sets) {
          const bool four_wide = subject.counterpart != nullptr;
          if (set != InstructionSet::scalar && (four_wide || subject.one_path)) continue;
          const std::string name = subject.name() + (lossy ? "/lossy/" : "/lossless/") +
                                   std::to_string(nodes) + "/" +
                                   (four_wide ? "four_wide" : kestrel::name(set));
          benchmark::RegisterBenchmark(name.c_str(),
                                       [&subject, nodes, lossy, set](benchmark::State& state) {
                                         measure(state, subject, nodes, lossy, set);
                                       })
              ->Iterations(1)
              ->UseManualTime()
              ->Unit(benchmark::kMicrosecond);
        }
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  const std::vector<Subject> all = subjects();
  register_all(all);
  TableReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
