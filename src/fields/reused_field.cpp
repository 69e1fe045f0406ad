#include "fields/reused_field.h"

#include <vector>

#include "kestrel/compiler.h"
#include "methods/common/wave_constants.h"
#include "numerics/run_kernel.h"
#include "numerics/wide_math.h"

namespace kestrel::fields {

namespace {

class DistinctPoints : public PointSource {
 public:
  explicit DistinctPoints(const ReusePlan& plan) : _plan(plan) {}
  std::size_t size() const override { return _plan.distinct_points(); }
  CartesianCoordinate operator[](std::size_t index) const override {
    return _plan.distinct_point(index);
  }

 private:
  const ReusePlan& _plan;
};

/// The common field, expanded along the row axis, real and imaginary parts apart.
struct Table {
  std::vector<double> re, im;
};

/// A row of the table and the weight with which it is added.
struct WeightedRow {
  const double* re;
  const double* im;
  double weight_re, weight_im;
};

/// Adds four weighted rows to a row of results, which so are read and written once for the four.
struct AddRows {
  static constexpr int width = 4;
  const WeightedRow* rows;
  double* re;
  double* im;
  int count;

  template <class Math>
  KESTREL_INLINE void operator()(Math) const {
    const WeightedRow a = rows[0], b = rows[1], c = rows[2], d = rows[3];
    KESTREL_LANES
    for (int i = 0; i < count; ++i) {
      double r = re[i], m = im[i];
      add<Math>(a, i, r, m);
      add<Math>(b, i, r, m);
      add<Math>(c, i, r, m);
      add<Math>(d, i, r, m);
      re[i] = r;
      im[i] = m;
    }
  }

  template <class Math>
  static KESTREL_INLINE double mul_add(double x, double y, double z) {
    if constexpr (Math::wide) return Math::mul_add(x, y, z);
    return x * y + z;
  }

  template <class Math>
  static KESTREL_INLINE void add(const WeightedRow& row, int i, double& r, double& m) {
    r = mul_add<Math>(row.weight_re, row.re[i], r);
    r = mul_add<Math>(-row.weight_im, row.im[i], r);
    m = mul_add<Math>(row.weight_re, row.im[i], m);
    m = mul_add<Math>(row.weight_im, row.re[i], m);
  }
};

Table expand_table(TileRunner& runner, const ReusePlan& plan,
                   const std::vector<std::complex<double>>& distinct) {
  Table table{std::vector<double>(plan.table_size()), std::vector<double>(plan.table_size())};
  runner.run(plan.distinct(2), [&](std::size_t c) {
    std::size_t place = c * plan.distinct(1) * plan.row_positions();
    for (std::size_t b = 0; b < plan.distinct(1); ++b) {
      for (std::size_t u = 0; u < plan.row_positions(); ++u, ++place) {
        const std::complex<double> p = distinct[plan.distinct_of(u, b, c)];
        table.re[place] = p.real();
        table.im[place] = p.imag();
      }
    }
  });
  return table;
}

}  // namespace

void add_reused_field(TileRunner& runner, const ReuseCosts& shares, const ReusePlan& plan,
                      const DirectJob& group, std::complex<double>* result, NodeRange& used) {
  const Element& first = group.elements.front();
  const Element unit = {.geometry = first.geometry, .apodization_index = first.apodization_index};
  Table table;
  {
    std::vector<std::complex<double>> distinct(plan.distinct_points());
    const DistinctPoints points(plan);
    runner.begin_stage(shares.compute);
    add_direct_field(runner, {{&unit, 1}, points, group.medium, group.method, group.rule},
                     distinct.data(), used);
    runner.begin_stage(shares.expand);
    table = expand_table(runner, plan, distinct);
  }

  struct Weighted {
    std::size_t element;
    std::complex<double> weight;
  };
  std::vector<Weighted> active;
  for (std::size_t e = 0; e < group.elements.size(); ++e) {
    // The methods leave such elements out themselves.
    if (!detail::is_negligible(group.elements[e].amplitude))
      active.push_back({e, group.elements[e].weight()});
  }

  runner.begin_stage(shares.copy);
  const std::size_t length = plan.row_length();
  const std::size_t rows_per_tile = std::max<std::size_t>(1, 2048 / length);
  // An absent fourth row is one of zero weight.
  const std::vector<double> zeros(length);
  const InstructionSet set = instruction_set();
  runner.run((plan.rows() + rows_per_tile - 1) / rows_per_tile, [&](std::size_t tile) {
    std::vector<double> re(length), im(length);
    const std::size_t last = std::min(plan.rows(), (tile + 1) * rows_per_tile);
    for (std::size_t row = tile * rows_per_tile; row < last; ++row) {
      std::fill(re.begin(), re.end(), 0.0);
      std::fill(im.begin(), im.end(), 0.0);
      WeightedRow batch[AddRows::width];
      for (std::size_t e = 0; e < active.size(); e += AddRows::width) {
        for (std::size_t k = 0; k < AddRows::width; ++k) {
          if (e + k >= active.size()) {
            batch[k] = {zeros.data(), zeros.data(), 0, 0};
            continue;
          }
          const std::size_t place = plan.table_index(row, active[e + k].element);
          const std::complex<double> w = active[e + k].weight;
          batch[k] = {table.re.data() + place, table.im.data() + place, w.real(), w.imag()};
        }
        run_kernel(set, AddRows{batch, re.data(), im.data(), static_cast<int>(length)});
      }
      std::complex<double>* to = result + plan.result_index(row);
      for (std::size_t i = 0; i < length; ++i) to[i] += std::complex<double>(re[i], im[i]);
    }
  });
}

}  // namespace kestrel::fields
