#include "fields/lattice.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "fields/tile_runner.h"

namespace kestrel::fields {

namespace {

/// Sorts by `before`, which tells any two apart.
template <class T, class Before>
void sort_patiently(std::vector<T>& things, Patience& patience, const Before& before) {
  std::sort(things.begin(), things.end(), [&](const T& a, const T& b) {
    patience.spend();
    return before(a, b);
  });
}

double largest_magnitude(std::span<const double> numbers) {
  double largest = 0;
  for (const double x : numbers) largest = std::max(largest, std::abs(x));
  return largest;
}

}  // namespace

void Patience::spend() {
  constexpr std::uint32_t kSpan = 1U << 20;
  if (++_spent % kSpan == 0) end_if_cancelled();
}

std::optional<AxisLattice> find_lattice(std::span<const double> values, double step,
                                        std::span<const double> centers, double most) {
  const std::size_t n = values.size();
  Patience patience;
  AxisLattice lattice;
  lattice.start.resize(centers.size());
  // A few roundings of the largest number that enters a difference.
  lattice.tolerance = 8 * std::numeric_limits<double>::epsilon() *
                      std::max(largest_magnitude(values), largest_magnitude(centers));
  if (n == 1) step = 1;  // no neighbours: equal centres share, others do not
  if (lattice.tolerance > 1e-3 * step) return std::nullopt;

  // The phase is the fractional part of centre / step: equal for elements whose centres are a whole
  // number of steps apart. An irrational offset is added so that common fractions (1/2, 1/3) do not
  // fall on the jump from 1 to 0.
  constexpr double kOffset = 0.3819660112501051;
  struct Place {
    double phase;
    double steps;  // from the first element
    std::uint32_t element;
  };
  std::vector<Place> places(centers.size());
  for (std::size_t e = 0; e < centers.size(); ++e) {
    const double steps = (centers[0] - centers[e]) / step;
    double phase = steps + kOffset - std::floor(steps + kOffset);
    if (n == 1) phase = steps;
    places[e] = {phase, steps, static_cast<std::uint32_t>(e)};
  }
  sort_patiently(places, patience, [](const Place& a, const Place& b) {
    return a.phase != b.phase ? a.phase < b.phase : a.element < b.element;
  });
  const double phase_tolerance = lattice.tolerance / step;
  for (std::size_t begin = 0, end = 0; begin < places.size(); begin = end) {
    while (end < places.size() && places[end].phase - places[begin].phase <= phase_tolerance) {
      ++end;
    }
    // Within a phase: windows of n positions each, numbered in steps from the first element's.
    struct Window {
      std::int64_t first;
      std::uint32_t element;
    };
    std::vector<Window> windows;
    for (std::size_t i = begin; i < end; ++i) {
      const double steps = n == 1 ? 0 : places[i].steps - places[begin].steps;
      if (std::abs(steps) > 1e15) return std::nullopt;
      windows.push_back({std::llround(steps), places[i].element});
    }
    sort_patiently(windows, patience, [](const Window& a, const Window& b) {
      return a.first != b.first ? a.first < b.first : a.element < b.element;
    });
    std::int64_t covered = windows.front().first;  // positions before this one exist
    for (const Window& window : windows) {
      covered = std::max(covered, window.first);  // a gap is not filled
      const auto known = static_cast<std::size_t>(covered - window.first);
      if (known<n&& static_cast<double>(lattice.position.size() + n - known)> most) {
        lattice.cut_off = true;
        return lattice;
      }
      lattice.start[window.element] = static_cast<std::uint32_t>(lattice.position.size() - known);
      for (std::size_t i = known; i < n; ++i) {
        patience.spend();
        lattice.position.push_back(values[i] - centers[window.element]);
      }
      covered = window.first + static_cast<std::int64_t>(n);
    }
    if (lattice.position.size() > std::numeric_limits<std::uint32_t>::max() / 2) {
      return std::nullopt;
    }
  }
  return lattice;
}

Distinct merge_equal(std::span<const double> numbers, double tolerance) {
  std::vector<std::uint32_t> order(numbers.size());
  std::iota(order.begin(), order.end(), 0U);
  Patience patience;
  sort_patiently(order, patience, [&](std::uint32_t a, std::uint32_t b) {
    return numbers[a] != numbers[b] ? numbers[a] < numbers[b] : a < b;
  });
  Distinct distinct;
  distinct.index.resize(numbers.size());
  for (const std::uint32_t i : order) {
    if (distinct.value.empty() || numbers[i] - distinct.value.back() > tolerance) {
      distinct.value.push_back(numbers[i]);
    }
    distinct.index[i] = static_cast<std::uint32_t>(distinct.value.size() - 1);
  }
  return distinct;
}

}  // namespace kestrel::fields
