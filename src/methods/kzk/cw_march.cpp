#include "methods/kzk/cw_march.h"

#include <algorithm>
#include <cmath>

#include "methods/kzk/harmonic_beam.h"
#include "methods/kzk/report.h"
#include "numerics/interruption.h"

namespace kestrel::kzk {

namespace {

/// More of the power than this above the spectral viscosity's onset, and the harmonics carried are
/// too few for the shock.
constexpr double tolerable_shock_share = 0.02;

struct CwPlan {
  Plan plan;
  int harmonics;
  int threads;
  std::vector<int> wanted;
  double source_pressure;
  Equation equation;
  Cost cost;
};

CwPlan make_cw_plan(const CwProblem& problem, std::vector<std::string>& warnings) {
  const Parameters& parameters = problem.parameters;
  CwPlan cw{make_plan(problem, 0.0, warnings), 0, 1, problem.wanted, 0.0, {}, {}};
  const Plan& plan = cw.plan;
  const int carried =
      static_cast<int>(asked_or(parameters.harmonics, 1, most_harmonics, default_harmonics,
                                "the number of harmonics", warnings));
  if (cw.wanted.empty())
    cw.wanted.push_back(static_cast<int>(
        asked_or(parameters.harmonic, 1, carried, 1, "the harmonic delivered", warnings)));
  for (const int m : cw.wanted)
    if (m < 1 || m > carried)
      throw Refusal{Code::failed, "A harmonic was asked for that the march does not carry."};
  if (problem.fluid.beta == 0.0 && *std::max_element(cw.wanted.begin(), cw.wanted.end()) > 1)
    warnings.emplace_back(
        "The nonlinearity parameter is 0: there are no harmonics above the first.");
  cw.source_pressure = plan.density * plan.sound_speed * std::abs(problem.weight);
  const double omega = plan.wavenumber * plan.sound_speed;
  const double c = plan.sound_speed;
  cw.equation = {0.25 / plan.beam.gain(), plan.absorption(),
                 plan.beam.length() * plan.beta * omega * std::abs(problem.weight) / (c * c)};
  if (!std::isfinite(cw.source_pressure) || !std::isfinite(cw.equation.nonlinearity))
    throw Refusal{Code::failed, "The element's weight must be finite."};
  // Without nonlinearity the fundamental is all there is.
  cw.harmonics = cw.equation.nonlinearity == 0.0 ? 1 : carried;
  if (plan.readers.empty()) return cw;
  cw.threads = Workers::useful(problem.threads, HarmonicBeam::tasks(cw.harmonics, plan.grid.nodes));
  const double last_planes = 4.0 * cw.wanted.size() * plan.grid.nodes;
  const double values = static_cast<double>(cw.wanted.size()) * problem.points.size();
  cw.cost = {static_cast<long>(plan.planes.size()), plan.grid.nodes, cw.harmonics,
             HarmonicBeam::storage(cw.harmonics, plan.grid.nodes, cw.threads) + plan.storage() +
                 sizeof(std::complex<double>) * (last_planes + values)};
  return cw;
}

/// The last four planes of the harmonics wanted.
class LastPlanes {
 public:
  LastPlanes(std::size_t wanted, int nodes)
      : _nodes(nodes), _size(2 * wanted * nodes), _values(4 * _size) {}
  void keep(std::size_t plane, const HarmonicBeam& beam, const std::vector<int>& wanted) {
    double* out = _values.data() + plane % 4 * _size;
    for (const int m : wanted) {
      // Harmonics beyond those carried do not exist in a linear march.
      if (m <= beam.harmonics())
        out = std::copy_n(beam.harmonic(m), 2L * _nodes, out);
      else
        out = std::fill_n(out, 2L * _nodes, 0.0);
    }
  }
  std::complex<double> at(std::size_t plane, std::size_t wanted, int node) const {
    const double* value = _values.data() + plane % 4 * _size + 2 * (wanted * _nodes + node);
    return {value[0], value[1]};
  }

 private:
  std::size_t _nodes;
  std::size_t _size;
  std::vector<double> _values;
};

/// The slow envelope of harmonic number `wanted` at a reader: cubic in depth and radius. The fast
/// oscillation is put back by the caller; it must never be interpolated.
std::complex<double> envelope(const Reader& reader, const Plan& plan, const LastPlanes& last,
                              std::size_t wanted) {
  double depth_weight[4];
  lagrange_weights(&plan.planes[reader.base], reader.sigma, depth_weight);
  const RadialStencil radial(reader.radius, plan.grid);
  std::complex<double> sum = 0.0;
  for (int i = 0; i < 4; ++i)
    for (int k = 0; k < 4; ++k)
      sum += depth_weight[i] * radial.weight[k] * last.at(reader.base + i, wanted, radial.node[k]);
  return sum;
}

void march(const CwProblem& problem, const CwPlan& cw, CwResult& result) {
  const Plan& plan = cw.plan;
  HarmonicBeam beam(cw.equation, plan.grid, cw.harmonics,
                    {RadialOrder::fourth, true, plan.smoothing_half_steps()});
  LastPlanes last(cw.wanted.size(), plan.grid.nodes);
  Workers workers(cw.threads);
  std::vector<std::complex<double>>& pressure = result.pressure;
  pressure.resize(cw.wanted.size() * problem.points.size());
  const double turn = std::arg(problem.weight);
  double share = 0.0;

  beam.start(plan.beam.focusing(), plan.leading_loss());
  last.keep(0, beam, cw.wanted);
  auto reader = plan.readers.begin();
  for (std::size_t plane = 1; plane < plan.planes.size(); ++plane) {
    if (!beam.advance(plan.planes[plane] - plan.planes[plane - 1], workers))
      throw Refusal{Code::failed, "The nonlinear march blew up; the drive is too strong."};
    if (cw.harmonics > 1) share = std::max(share, beam.shock_share());
    last.keep(plane, beam, cw.wanted);
    for (; reader != plan.readers.end() && reader->base + 3 == plane; ++reader) {
      if (interruption_asked()) throw Refusal{Code::cancelled, "Cancelled."};
      const double z = problem.points[reader->point].z;
      for (std::size_t h = 0; h < cw.wanted.size(); ++h) {
        const int m = cw.wanted[h];
        pressure[h * problem.points.size() + reader->point] =
            cw.source_pressure * reader->factor * envelope(*reader, plan, last, h) *
            std::polar(1.0, m * (turn - plan.wavenumber * z));
      }
    }
    if (problem.progress &&
        !problem.progress(static_cast<double>(plane) / (plan.planes.size() - 1)))
      throw Refusal{Code::cancelled, "Cancelled."};
  }
  for (const auto& value : pressure)
    if (!std::isfinite(value.real()) || !std::isfinite(value.imag()))
      throw Refusal{Code::failed, "The nonlinear march did not stay finite."};
  if (share > tolerable_shock_share)
    result.warnings.emplace_back(
        "The shock is stronger than the harmonics carried can hold; raise the number of "
        "harmonics, and trust only the lowest sixth of them.");
}

}  // namespace

CwResult march_cw(const CwProblem& problem) {
  CwResult result;
  report_into(result, [&] {
    result.harmonics = problem.wanted.empty() ? std::vector<int>{1} : problem.wanted;
    const auto silence = [&] {
      const double values =
          static_cast<double>(result.harmonics.size()) * static_cast<double>(problem.points.size());
      check_storage(sizeof(std::complex<double>) * values, "The result",
                    "fewer points or harmonics");
      result.pressure.resize(result.harmonics.size() * problem.points.size());
    };
    if (std::abs(problem.weight) <= gate) return silence();
    const CwPlan cw = make_cw_plan(problem, result.warnings);
    result.harmonics = cw.wanted;
    result.cost = cw.cost;
    if (cw.plan.readers.empty() || cw.source_pressure == 0.0) return silence();
    check_storage(cw.cost.bytes, "The march",
                  "a larger radial step, a smaller domain radius, fewer harmonics or fewer points");
    march(problem, cw, result);
  });
  if (result.code != Code::done) result.pressure = {};
  return result;
}

Cost estimate_cw(const CwProblem& problem) {
  Report ignored;
  Cost cost;
  report_into(ignored, [&] {
    if (!(std::abs(problem.weight) <= gate)) cost = make_cw_plan(problem, ignored.warnings).cost;
  });
  return cost;
}

}  // namespace kestrel::kzk
