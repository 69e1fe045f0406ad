#pragma once

#include <complex>
#include <new>
#include <stdexcept>

#include "methods/common/wave_constants.h"
#include "methods/kzk/plan.h"
#include "numerics/interruption.h"

/// The one course of a march, of harmonics and of waveforms: plan, check the storage, step from
/// plane to plane, and read every receiver when the planes around it are there.
///
/// A `March` provides
///   Problem, Result             the types of its interface
///   kLighterResult, kLighterMarch   what would need less storage, in words
///   amplitude(problem)          of the element; when negligible, nothing is marched
///   values(problem)             of the result
///   March(problem, result)      plans: fills the result's cost and warnings
///   start()                     makes the source plane; false when it is silent
///   advance(ds)                 one axial step; false when the field has blown up. May end early,
///                               with true, when an interruption is asked for
///   keep(plane)                 stores the present plane in place of the one four planes back
///   read(receiver, result)      from the four planes kept
///   finish(result)              warns of what was seen under way
/// and the members plan() and silent().

namespace kestrel::kzk {

/// Tells the caller how far the march is. Throws Error when the caller ends it.
inline void report_progress(const Problem& problem, double fraction) {
  if (problem.progress && !problem.progress(fraction)) fail(ErrorKind::cancelled, "Cancelled.");
}

/// Throws Error when the user wants the run to end.
inline void end_if_interrupted() {
  if (interruption_asked()) fail(ErrorKind::cancelled, "Cancelled.");
}

/// Runs `body`, turning everything it can throw into the report.
template <class Body>
void report_into(Report& report, const Body& body) {
  try {
    body();
  } catch (const Error& error) {
    report.error = error;
  } catch (const std::bad_alloc&) {
    report.error = Error("Out of memory.", ErrorKind::out_of_memory);
  } catch (const std::length_error&) {
    report.error = Error("Out of memory.", ErrorKind::out_of_memory);
  }
}

template <class Value>
void check_finite(const std::vector<Value>& pressure) {
  for (const Value& value : pressure) {
    if (!std::isfinite(std::real(value)) || !std::isfinite(std::imag(value))) {
      fail(ErrorKind::numerical, "The nonlinear march did not stay finite.");
    }
  }
}

template <class March>
void step_through(const Problem& problem, March& march, typename March::Result& result) {
  const std::vector<double>& planes = march.plan().planes;
  // The first receiver that is not read yet; the others lie deeper.
  auto receiver = march.plan().receivers.begin();
  const auto end = march.plan().receivers.end();
  for (std::size_t plane = 0; plane < planes.size(); ++plane) {
    if (plane > 0 && !march.advance(planes[plane] - planes[plane - 1])) {
      fail(ErrorKind::numerical, "The nonlinear march blew up; the drive is too strong.");
    }
    end_if_interrupted();  // the step may have been left early
    if (receiver != end && receiver->base <= plane) march.keep(plane);
    for (; receiver != end && receiver->base + 3 == plane; ++receiver) {
      end_if_interrupted();
      march.read(*receiver, result);
    }
    if (plane > 0) {
      report_progress(problem, static_cast<double>(plane) / static_cast<double>(planes.size() - 1));
    }
  }
}

/// The whole march. Never throws; everything that can go wrong is in the result's report.
template <class March>
void run(const typename March::Problem& problem, typename March::Result& result) {
  report_into(result, [&] {
    const std::size_t values = March::values(problem);
    check_storage(sizeof(result.pressure[0]) * static_cast<double>(values), "The result",
                  March::kLighterResult);
    const auto silence = [&] { result.pressure.resize(values); };
    if (detail::is_negligible(March::amplitude(problem))) return silence();
    March march(problem, result);
    if (march.silent()) return silence();
    check_storage(result.cost.bytes, "The march", March::kLighterMarch);
    silence();
    if (!march.start()) return;
    step_through(problem, march, result);
    check_finite(result.pressure);
    march.finish(result);
  });
  if (result.error) result.pressure = {};
}

/// The size of the march that `run` would make; zero when it would not march.
template <class March>
Cost estimate(const typename March::Problem& problem) {
  typename March::Result planned;
  report_into(planned, [&] {
    if (!detail::is_negligible(March::amplitude(problem))) March(problem, planned);
  });
  return planned.cost;
}

}  // namespace kestrel::kzk
