#include "methods/kzk/cw_march.h"

#include <algorithm>
#include <cmath>

#include "methods/kzk/driver.h"
#include "methods/kzk/harmonic_beam.h"

namespace kestrel::kzk {

namespace {

/// More of the power than this above the spectral viscosity's onset, and the harmonics carried are
/// too few for the shock.
constexpr double kTolerableShockShare = 0.02;

/// The last four planes of the harmonics wanted.
class LastPlanes {
 public:
  LastPlanes(std::size_t wanted, int nodes)
      : _nodes(nodes), _size(2 * static_cast<Index>(wanted) * nodes), _values(4 * _size) {}
  void keep(std::size_t plane, const HarmonicBeam& beam, const std::vector<int>& wanted) {
    double* out = start_of(plane);
    for (const int m : wanted) {
      // Harmonics beyond those carried do not exist in a linear march.
      if (m <= beam.harmonics()) {
        out = std::copy_n(beam.harmonic(m), 2 * _nodes, out);
      } else {
        out = std::fill_n(out, 2 * _nodes, 0.0);
      }
    }
  }
  /// The slow envelope of harmonic number `wanted` at a receiver: cubic in depth and radius. The
  /// fast oscillation is put back by the caller; it must never be interpolated.
  std::complex<double> envelope(const ReceiverSample& receiver, const Plan& plan,
                                std::size_t wanted) {
    double depth_weight[4];
    lagrange_weights(&plan.planes[receiver.base], receiver.sigma, depth_weight);
    const RadialStencil radial(receiver.radius, plan.grid);
    std::complex<double> sum = 0.0;
    for (std::size_t i = 0; i < 4; ++i) {
      const double* plane = start_of(receiver.base + i) + 2 * static_cast<Index>(wanted) * _nodes;
      for (int k = 0; k < 4; ++k) {
        const double* value = plane + 2 * radial.node[k];
        sum += depth_weight[i] * radial.weight[k] * std::complex<double>(value[0], value[1]);
      }
    }
    return sum;
  }

 private:
  double* start_of(std::size_t plane) {
    return _values.data() + static_cast<Index>(plane % 4) * _size;
  }

  Index _nodes;
  Index _size;
  Buffer<double> _values;
};

/// The march of harmonics, for the driver.
class HarmonicMarch {
 public:
  using Problem = CwProblem;
  using Result = CwResult;
  static constexpr const char* kLighterResult = "fewer points or harmonics";
  static constexpr const char* kLighterMarch =
      "a larger radial step, a smaller domain radius, fewer harmonics or fewer points";
  static double amplitude(const CwProblem& problem) { return std::abs(problem.weight); }
  static std::size_t values(const CwProblem& problem) {
    return std::max<std::size_t>(1, problem.wanted.size()) * problem.points.size();
  }

  HarmonicMarch(const CwProblem& problem, CwResult& result)
      : _problem(problem), _plan(make_plan(problem, 0.0, result.warnings)) {
    const int carried = choose_harmonics(result);
    const double amplitude = std::abs(problem.weight);
    _source_pressure = _plan.density * _plan.sound_speed * amplitude;
    _equation = {0.25 / _plan.beam.gain(), _plan.absorption(), _plan.nonlinearity(amplitude)};
    if (!std::isfinite(_source_pressure) || !std::isfinite(_equation.nonlinearity)) {
      fail("The element's weight must be finite.");
    }
    // Without nonlinearity the fundamental is all there is.
    _harmonics = _equation.nonlinearity == 0.0 ? 1 : carried;
    if (_plan.receivers.empty()) return;
    const int nodes = _plan.grid.nodes;
    _threads = Workers::useful(problem.threads, HarmonicBeam::tasks(_harmonics, nodes));
    const auto wanted = static_cast<double>(_wanted.size());
    const double last_planes = 4.0 * wanted * nodes;
    const double pressures = wanted * static_cast<double>(problem.points.size());
    result.cost = {static_cast<long>(_plan.planes.size()), nodes, _harmonics,
                   HarmonicBeam::storage(_harmonics, nodes, _threads) + _plan.storage() +
                       sizeof(std::complex<double>) * (last_planes + pressures)};
  }

  const Plan& plan() const { return _plan; }
  bool silent() const { return _plan.receivers.empty() || _source_pressure == 0.0; }

  bool start() {
    _beam.emplace(_equation, _plan.grid, _harmonics,
                  HarmonicBeam::Options{RadialOrder::fourth, true, _plan.smoothing_half_steps()});
    _beam->start(_plan.beam.focusing(), _plan.leading_loss());
    _last.emplace(_wanted.size(), _plan.grid.nodes);
    _workers.emplace(_threads);
    return true;
  }
  bool advance(double ds) {
    if (!_beam->advance(ds, *_workers)) return false;
    if (_harmonics > 1) _shock_share = std::max(_shock_share, _beam->shock_share());
    return true;
  }
  void keep(std::size_t plane) { _last->keep(plane, *_beam, _wanted); }
  void read(const ReceiverSample& receiver, CwResult& result) {
    const double phase =
        std::arg(_problem.weight) - _plan.wavenumber * _problem.points[receiver.point].z;
    for (std::size_t h = 0; h < _wanted.size(); ++h) {
      result.pressure[h * _problem.points.size() + receiver.point] =
          _source_pressure * receiver.factor * _last->envelope(receiver, _plan, h) *
          std::polar(1.0, _wanted[h] * phase);
    }
  }
  void finish(CwResult& result) const {
    if (_shock_share <= kTolerableShockShare) return;
    result.warnings.emplace_back(
        "The shock is stronger than the harmonics carried can hold; raise the number of "
        "harmonics, and trust only the lowest sixth of them.");
  }

 private:
  /// Settles which harmonics are delivered. Returns how many are to be carried.
  int choose_harmonics(CwResult& result) {
    const Parameters& parameters = _problem.parameters;
    const int carried = static_cast<int>(
        in_range_or_default(parameters.harmonics, 1, kMostHarmonics, kDefaultHarmonics,
                            "the number of harmonics", result.warnings));
    _wanted = _problem.wanted;
    if (_wanted.empty()) {
      _wanted.push_back(static_cast<int>(in_range_or_default(
          parameters.harmonic, 1, carried, 1, "the harmonic delivered", result.warnings)));
    }
    const auto [lowest, highest] = std::minmax_element(_wanted.begin(), _wanted.end());
    if (*lowest < 1 || *highest > carried) {
      fail("A harmonic was asked for that the march does not carry.");
    }
    if (_problem.fluid.beta == 0.0 && *highest > 1) {
      result.warnings.emplace_back(
          "The nonlinearity parameter is 0: there are no harmonics above the first.");
    }
    result.harmonics = _wanted;
    return carried;
  }

  const CwProblem& _problem;
  Plan _plan;
  std::vector<int> _wanted;
  double _source_pressure = 0.0;
  Equation _equation;
  int _harmonics = 0;
  int _threads = 1;
  std::optional<HarmonicBeam> _beam;
  std::optional<LastPlanes> _last;
  std::optional<Workers> _workers;
  double _shock_share = 0.0;
};

}  // namespace

CwResult march_cw(const CwProblem& problem) {
  CwResult result;
  result.harmonics = problem.wanted.empty() ? std::vector<int>{1} : problem.wanted;
  run<HarmonicMarch>(problem, result);
  return result;
}

Cost estimate_cw(const CwProblem& problem) { return estimate<HarmonicMarch>(problem); }

}  // namespace kestrel::kzk
