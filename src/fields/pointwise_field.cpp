#include "fields/pointwise_field.h"

#include <algorithm>
#include <random>
#include <set>

namespace kestrel::fields {

std::vector<std::size_t> draw_points(std::size_t size, std::size_t count) {
  std::vector<std::size_t> drawn;
  if (count >= size) {
    for (std::size_t i = 0; i < size; ++i) drawn.push_back(i);
    return drawn;
  }
  // The engine's numbers are the same everywhere; those of the library's distributions are not.
  std::mt19937_64 random(1);
  std::set<std::size_t> different;
  while (different.size() < count) different.insert(static_cast<std::size_t>(random() % size));
  drawn.assign(different.begin(), different.end());
  return drawn;
}

std::vector<std::complex<double>> compute_points(TileRunner& runner, const DirectJob& job,
                                                 const std::vector<std::size_t>& chosen) {
  constexpr std::size_t group_size = 8;
  std::vector<std::complex<double>> field(chosen.size());
  runner.run((chosen.size() + group_size - 1) / group_size, [&](std::size_t group) {
    const auto first = chosen.begin() + static_cast<std::ptrdiff_t>(group * group_size);
    const auto count = std::min<std::ptrdiff_t>(group_size, chosen.end() - first);
    const std::vector<std::size_t> members(first, first + count);
    const ChosenPoints points(job.points, members);
    const PointwiseNodes rule(job.rule, points);
    compute_direct_here({job.elements, points, job.medium, job.method, rule, members.size()},
                        field.data() + group * group_size);
  });
  return field;
}

}  // namespace kestrel::fields
