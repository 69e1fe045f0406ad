/// Measures how accurate every continuous-wave method is and writes the accuracy page:
///
///     accuracy TEMPLATE PAGE DATA_FOLDER
///
/// TEMPLATE (docs/accuracy.md.in) is the page with {{names}} in place of the numbers and tables
/// measured here; DATA_FOLDER receives what docs/accuracy.gp draws. `make docs` runs both.

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <numbers>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "kestrel/kestrel.h"
#include "services/off_host_thread.h"
#include "validation/reference/rayleigh.h"

namespace {

using namespace kestrel;
using Complex = std::complex<double>;
using Field = std::vector<Complex>;
using Points = std::vector<CartesianCoordinate>;
using Method = int (Transducer::*)();
using Element = std::shared_ptr<Transducer>;
using Reference = std::function<Complex(const Medium&, CartesianCoordinate, int nodes)>;

constexpr double kFrequency = 1e6;
constexpr double kSpeed = 1500;
constexpr double kWavelength = kSpeed / kFrequency;
constexpr double kLoss = 1;  // dB/(cm MHz), wherever a study says "lossy"
constexpr double kMm = 1e-3;

// ---- output
// --------------------------------------------------------------------------------------

template <class... Arguments>
std::string text(const char* format, Arguments... arguments) {
  char buffer[256];
  std::snprintf(buffer, sizeof buffer, format, arguments...);
  return buffer;
}

/// A number with two digits, as 3.1e-06 becomes 3.1e-6.
std::string number(double value) {
  std::string digits = text("%.1e", value);
  const std::size_t zero = digits.find_first_of("+-", digits.find('e')) + 1;
  if (zero < digits.size() && digits[zero] == '0') digits.erase(zero, 1);
  return digits;
}

/// A Markdown table.
class Table {
 public:
  explicit Table(const std::vector<std::string>& head) {
    row(head);
    std::string rule = "|---|";
    for (std::size_t i = 1; i < head.size(); ++i) rule += "---:|";
    _text += rule + "\n";
  }
  void row(const std::vector<std::string>& cells) {
    _text += "|";
    for (const std::string& cell : cells) _text += " " + cell + " |";
    _text += "\n";
  }
  /// Without the last line's end, which the template has.
  std::string str() const { return _text.substr(0, _text.size() - 1); }

 private:
  std::string _text;
};

/// What the studies leave: texts for the page and files for the figures.
class Results {
 public:
  explicit Results(std::string folder) : _folder(std::move(folder)) {}

  void set(const std::string& name, const std::string& value) { _texts[name] = value; }

  std::ofstream file(const std::string& name) const {
    std::ofstream stream(_folder + "/" + name);
    if (!stream) throw std::runtime_error("cannot write " + _folder + "/" + name);
    return stream;
  }

  /// The template with every {{name}} replaced. A name that nobody measured and a measurement that
  /// the page does not show are both mistakes.
  std::string fill(std::string page) const {
    std::set<std::string> used;
    for (std::size_t at = 0; (at = page.find("{{", at)) != std::string::npos;) {
      const std::size_t end = page.find("}}", at);
      const std::string name = page.substr(at + 2, end - at - 2);
      const auto found = _texts.find(name);
      if (found == _texts.end()) throw std::runtime_error("nothing measured for {{" + name + "}}");
      page.replace(at, end + 2 - at, found->second);
      at += found->second.size();
      used.insert(name);
    }
    for (const auto& [name, value] : _texts) {
      if (used.count(name) == 0) throw std::runtime_error("the page does not show " + name);
    }
    return page;
  }

 private:
  std::string _folder;
  std::map<std::string, std::string> _texts;
};

// ---- fields
// --------------------------------------------------------------------------------------

Medium fluid(double dB_per_cm_MHz) {
  Medium medium;
  medium._f0 = kFrequency;
  medium._soundspeed = kSpeed;
  medium._rho_density = 1000;
  medium._dBcmMHz = dB_per_cm_MHz;
  return medium;
}

/// What a fast nearfield method has over the Rayleigh integral.
Complex loss_factor(const Medium& medium) {
  return {1, -reference::attenuation(medium) / reference::wavenumber(medium)};
}

Field run(Transducer& element, Method method, Medium medium, const Points& points, int nodes) {
  std::vector<double> columns;
  for (const auto& p : points) columns.push_back(p.x);
  for (const auto& p : points) columns.push_back(p.y);
  for (const auto& p : points) columns.push_back(p.z);
  CoordinateGrid grid;
  grid.CoordinateGridVector(columns.data(), static_cast<int>(points.size()));
  NumericalIntegration rule;
  rule.allocate_memory(nodes);
  rule.gauss_quadrature();
  std::vector<double> re(points.size()), im(points.size());
  element.set_medium(&medium);
  element.set_global_coordinate_grid(&grid);
  element.set_integral_pointer(&rule);
  element.set_complex_pressure_pointers(re.data(), im.data());
  services::Messages unread;
  const services::OffHostThread quiet(unread);
  if ((element.*method)() != kSuccess) throw std::runtime_error("a method failed");
  Field field;
  for (std::size_t i = 0; i < re.size(); ++i) field.emplace_back(re[i], im[i]);
  return field;
}

Field evaluate(const Reference& reference, const Medium& medium, const Points& points,
               int nodes = reference::kNodes) {
  Field field;
  for (const auto& p : points) field.push_back(reference(medium, p, nodes));
  return field;
}

double peak(const Field& field) {
  double value = 0;
  for (const Complex& p : field) value = std::max(value, std::abs(p));
  return value;
}

/// Largest difference as a fraction of the exact field's peak, after division by `factor`.
double error(const Field& field, const Field& exact, Complex factor = 1) {
  double worst = 0;
  for (std::size_t i = 0; i < field.size(); ++i) {
    const double e = std::abs(field[i] / factor - exact[i]);
    if (!(e <= worst)) worst = e;  // keeps a NaN
  }
  return worst / peak(exact);
}

// ---- what is measured
// ----------------------------------------------------------------------------

struct NamedMethod {
  const char* name;
  Method run;
  bool fast_nearfield = false;  ///< has the factor 1 - j alpha/k
  int most_nodes = 256;         ///< beyond this it takes too long
};

struct Zone {
  const char* name;
  Points points;
};

struct Subject {
  const char* name;
  Element element;
  Reference exact;
  std::vector<NamedMethod> methods;
  std::vector<Zone> zones;
};

struct Range {
  double from, to;
  bool logarithmic = false;
  double at(double u) const {
    return logarithmic ? from * std::pow(to / from, u) : from + (to - from) * u;
  }
};

/// Base-b radical inverse: evenly spread, never on a lattice, the same every time.
double halton(int i, int base) {
  double value = 0, digit = 1;
  for (; i > 0; i /= base) value += (i % base) * (digit /= base);
  return value;
}

Points scatter(int count, Range x, Range y, Range z,
               const std::function<bool(const CartesianCoordinate&)>& admit = {}) {
  Points points;
  for (int i = 1; static_cast<int>(points.size()) < count; ++i) {
    const CartesianCoordinate p(x.at(halton(i, 2)), y.at(halton(i, 3)), z.at(halton(i, 5)));
    if (!admit || admit(p)) points.push_back(p);
  }
  return points;
}

template <class Shape, class... Sizes>
Element make(Sizes... sizes) {
  return std::make_shared<Shape>(sizes..., 1.0, 0.0);
}

Reference rayleigh_over(const Geometry& face) {
  return
      [=](const Medium& m, CartesianCoordinate p, int n) { return reference::face(face, m, p, n); };
}

/// In front of a cap and at least `gap` away from it.
std::function<bool(const CartesianCoordinate&)> clear_of_cap(double a, double rc, double gap) {
  return [=](const CartesianCoordinate& p) {
    const double r = std::hypot(p.x, p.y), depth = std::sqrt(rc * rc - a * a);
    const bool in_bowl = p.z < rc - depth;
    return in_bowl ? rc - std::hypot(r, p.z - rc) >= gap
                   : std::hypot(r - a, p.z - rc + depth) >= gap;
  };
}

// The five subjects of the tables and their sizes.
constexpr double kWidth = 6 * kMm, kHeight = 10 * kMm;
constexpr double kRadius = 7.5 * kMm, kInner = 4.5 * kMm;
constexpr double kShellRadius = 15 * kMm, kCurvature = 40 * kMm, kShellInner = 8 * kMm;

std::vector<Subject> subjects() {
  const Range near_z{kWavelength / 2, 30 * kMm}, far_z{60 * kMm, 150 * kMm};
  const Range far_x{0, 60 * kMm};
  const Points flat = scatter(400, {0, 12 * kMm}, {0, 12 * kMm}, near_z);
  const Points flat_far = scatter(400, far_x, far_x, far_z);
  const Points bowl = scatter(400, {0, 12 * kMm}, {0, 12 * kMm}, {kWavelength / 2, 55 * kMm},
                              clear_of_cap(kShellRadius, kCurvature, kWavelength / 2));
  const std::vector<Zone> planar{{"near", flat}, {"far", flat_far}};
  const std::vector<Zone> curved{{"near", bowl}, {"far", flat_far}};
  return {
      {"rectangle",
       make<RectangularTransducer>(kWidth, kHeight),
       rayleigh_over(Rectangle{kWidth, kHeight}),
       {{"fnm_cw", &Transducer::fnm_cw, true},
        {"fnm_cw_single", &Transducer::fnm_cw_single, true},
        {"fnm_cw_sse", &Transducer::fnm_cw_sse, true},
        {"fnm_cw_sse2", &Transducer::fnm_cw_sse2, true},
        {"rayleigh_cw", &Transducer::rayleigh_cw},
        {"rayleigh_cw_sse", &Transducer::rayleigh_cw_sse},
        {"radiator_cw", &Transducer::radiator_cw, false, 128}},
       planar},
      {"circular",
       make<CircularTransducer>(kRadius),
       rayleigh_over(Circle{kRadius}),
       {{"fnm_cw", &Transducer::fnm_cw, true},
        {"fnm_cw_sse", &Transducer::fnm_cw_sse, true},
        {"rayleigh_cw", &Transducer::rayleigh_cw},
        {"rayleigh_cw_apodized", &Transducer::rayleigh_cw_apodized},
        {"rayleigh_cw_sse", &Transducer::rayleigh_cw_sse}},
       planar},
      {"ring",
       make<RingTransducer>(kInner, kRadius),
       rayleigh_over(Ring{kInner, kRadius}),
       {{"fnm_cw", &Transducer::fnm_cw, true}, {"rayleigh_cw", &Transducer::rayleigh_cw}},
       planar},
      {"shell",
       make<SphericalTransducer>(kShellRadius, kCurvature),
       rayleigh_over(Shell{kShellRadius, kCurvature}),
       {{"fnm_cw", &Transducer::fnm_cw, true},
        {"fnm_cw_sse", &Transducer::fnm_cw_sse, true},
        {"rayleigh_cw", &Transducer::rayleigh_cw},
        {"rayleigh_cw_sse", &Transducer::rayleigh_cw_sse}},
       curved},
      {"spherical_ring",
       make<SphericalRingTransducer>(kShellInner, kShellRadius, kCurvature),
       rayleigh_over(ShellRing{kShellInner, kShellRadius, kCurvature}),
       {{"fnm_cw", &Transducer::fnm_cw, true}, {"rayleigh_cw", &Transducer::rayleigh_cw}},
       curved},
  };
}

// ---- studies
// -------------------------------------------------------------------------------------

/// Error against the number of nodes: one figure, one table lossless and one lossy per shape.
void study_convergence(Results& results, const Subject& subject) {
  static const std::vector<int> kNodes{4, 8, 12, 16, 20, 24, 28, 32, 40, 48, 64, 96, 128, 192, 256};
  static const std::vector<int> kShown{8, 16, 32, 64, 128, 256};
  std::ofstream data = results.file(text("convergence_%s.dat", subject.name));
  for (const double loss : {0.0, kLoss}) {
    const Medium medium = fluid(loss);
    const char* kind = loss == 0 ? "lossless" : "lossy";
    std::vector<std::string> head{"method"};
    for (const int n : kShown) head.push_back(text("%d nodes", n));
    Table table(head);
    std::vector<Field> exact;
    for (const Zone& zone : subject.zones) {
      exact.push_back(evaluate(subject.exact, medium, zone.points));
    }
    for (const NamedMethod& method : subject.methods) {
      const Complex factor = method.fast_nearfield ? loss_factor(medium) : 1;
      std::map<int, std::string> cells;
      for (std::size_t z = 0; z < subject.zones.size(); ++z) {
        const Zone& zone = subject.zones[z];
        data << "# " << kind << ' ' << zone.name << ' ' << method.name << '\n';
        for (const int n : kNodes) {
          if (n > method.most_nodes) continue;
          const double e =
              error(run(*subject.element, method.run, medium, zone.points, n), exact[z], factor);
          data << n << ' ' << e << '\n';
          cells[n] += (z == 0 ? "" : " / ") + number(e);
        }
        data << "\n\n";
      }
      std::vector<std::string> row{text("`%s`", method.name)};
      for (const int n : kShown) row.push_back(cells.count(n) != 0 ? cells[n] : "-");
      table.row(row);
    }
    results.set(text("%s_%s", subject.name, kind), table.str());
  }
}

/// How far the reference is from itself with twice the nodes, and from the closed forms.
void study_reference(Results& results, const std::vector<Subject>& all) {
  double worst = 0;
  for (const Subject& subject : all) {
    for (const double loss : {0.0, kLoss}) {
      for (const Zone& zone : subject.zones) {
        worst = std::max(
            worst, error(evaluate(subject.exact, fluid(loss), zone.points, 2 * reference::kNodes),
                         evaluate(subject.exact, fluid(loss), zone.points)));
      }
    }
  }
  results.set("reference_doubled", number(worst));

  Points axis;
  for (int i = 1; i <= 300; ++i) axis.emplace_back(0, 0, i * 0.5 * kMm + 1e-5);
  const Points focus{{0, 0, kCurvature}};
  struct Form {
    const char* name;
    const Subject& subject;
    const Points& points;
    std::function<Complex(const Medium&, double z)> closed;
  };
  const Subject &disc = all[1], &shell = all[3];
  const auto on_disc = [](const Medium& m, double z) {
    return reference::disc_on_axis(kRadius, m, z);
  };
  const auto on_cap = [](const Medium& m, double z) {
    return reference::cap_on_axis(kShellRadius, kCurvature, m, z);
  };
  Table table({"closed form", "reference, lossless", "lossy", "`fnm_cw`, 64 nodes, lossless",
               "lossy, factor taken out"});
  for (const Form& form : {Form{"disc, on its axis", disc, axis, on_disc},
                           Form{"shell, on its axis", shell, axis, on_cap},
                           Form{"shell, centre of curvature", shell, focus, on_cap}}) {
    std::vector<std::string> reference_cells, method_cells, row{form.name};
    // There the reference takes the closed form itself, and the method too, without the factor.
    const bool at_centre = form.points.size() == 1;
    for (const double loss : {0.0, kLoss}) {
      const Medium medium = fluid(loss);
      Field closed;
      for (const auto& p : form.points) closed.push_back(form.closed(medium, p.z));
      reference_cells.push_back(
          at_centre ? "-"
                    : number(error(evaluate(form.subject.exact, medium, form.points), closed)));
      const Complex factor = at_centre ? 1 : loss_factor(medium);
      method_cells.push_back(
          number(error(run(*form.subject.element, &Transducer::fnm_cw, medium, form.points, 64),
                       closed, factor)));
    }
    row.insert(row.end(), reference_cells.begin(), reference_cells.end());
    row.insert(row.end(), method_cells.begin(), method_cells.end());
    table.row(row);
  }
  results.set("closed_forms", table.str());
}

// ---- how many nodes
// ------------------------------------------------------------------------------

/// Number of nodes for an element of s wavelengths: slope s + offset, at least `least`.
struct NodeRule {
  double slope, offset;
  int least;
  int nodes(double s) const {
    return std::max(least, static_cast<int>(std::ceil(slope * s + offset - 1e-9)));
  }
};

/// A family of similar elements, by size in wavelengths.
struct Family {
  const char* name;
  const char* size;  ///< what the size is
  std::function<Subject(double s)> make;
  /// For 1e-3 and for 1e-6.
  std::array<NodeRule, 2> rules;
};

constexpr double kTolerances[] = {1e-3, 1e-6};
constexpr std::array<NodeRule, 2> kRectangleRules{{{2, 2, 4}, {2, 8, 1}}};
constexpr std::array<NodeRule, 2> kRoundRules{{{2.5, 6, 1}, {2.5, 16, 1}}};

/// Points from half a wavelength to four near-field lengths in front of a face of the given size.
Points in_front(double s, const std::function<bool(const CartesianCoordinate&)>& admit = {}) {
  const double size = s * kWavelength;
  const double far = std::max(s * s, 4.0) * kWavelength;
  return scatter(400, {0, size}, {0, size}, {kWavelength / 2, far, true}, admit);
}

Subject rectangle_of(double width, double height) {
  const double w = width * kWavelength, h = height * kWavelength;
  return {"",
          make<RectangularTransducer>(w, h),
          rayleigh_over(Rectangle{w, h}),
          {{"fnm_cw", &Transducer::fnm_cw, true}},
          {{"", in_front(std::max(width, height))}}};
}

std::vector<Family> families() {
  const auto radius = [](double s) { return s * kWavelength / 2; };
  const auto shell = [=](double s, double f_number, double inner) {
    const double a = radius(s), rc = 2 * a * f_number;
    const NamedMethod method{"fnm_cw", &Transducer::fnm_cw, true};
    const Points points = in_front(s, clear_of_cap(a, rc, kWavelength / 2));
    if (inner == 0) {
      return Subject{"",
                     make<SphericalTransducer>(a, rc),
                     rayleigh_over(Shell{a, rc}),
                     {method},
                     {{"", points}}};
    }
    return Subject{"",
                   make<SphericalRingTransducer>(inner * a, a, rc),
                   rayleigh_over(ShellRing{inner * a, a, rc}),
                   {method},
                   {{"", points}}};
  };
  const NamedMethod fnm{"fnm_cw", &Transducer::fnm_cw, true};
  return {
      {"rectangle, square", "side", [](double s) { return rectangle_of(s, s); }, kRectangleRules},
      {"rectangle, 1:4", "longer side", [](double s) { return rectangle_of(s / 4, s); },
       kRectangleRules},
      {"disc", "diameter",
       [=](double s) {
         return Subject{"",
                        make<CircularTransducer>(radius(s)),
                        rayleigh_over(Circle{radius(s)}),
                        {fnm},
                        {{"", in_front(s)}}};
       },
       kRoundRules},
      {"ring, radii 1:2", "outer diameter",
       [=](double s) {
         const double b = radius(s);
         return Subject{"",
                        make<RingTransducer>(b / 2, b),
                        rayleigh_over(Ring{b / 2, b}),
                        {fnm},
                        {{"", in_front(s)}}};
       },
       kRoundRules},
      {"shell, f/1", "diameter", [=](double s) { return shell(s, 1, 0); }, kRoundRules},
      {"shell, f/0.6", "diameter", [=](double s) { return shell(s, 0.6, 0); }, kRoundRules},
      {"spherical ring, f/1, radii 1:2", "outer diameter",
       [=](double s) { return shell(s, 1, 0.5); }, kRoundRules},
  };
}

/// The smallest number of nodes from which on the error stays below each tolerance.
void study_nodes(Results& results) {
  const std::vector<double> sizes{0.5, 1, 2, 4, 8, 16, 32};
  std::vector<std::string> head{"shape", "size", "error below"};
  for (const double s : sizes) head.push_back(text("%g", s));
  head.emplace_back("rule holds");
  Table table(head);
  std::ofstream data = results.file("nodes.dat");
  const Medium medium = fluid(0);
  for (const Family& family : families()) {
    std::vector<int> needed[2];
    for (const double s : sizes) {
      const Subject subject = family.make(s);
      const Points& points = subject.zones[0].points;
      const Field exact = evaluate(subject.exact, medium, points);
      const int most = static_cast<int>(3 * s) + 40;
      int found[2] = {most, most};
      bool open[2] = {true, true};
      for (int n = most; n >= 1 && (open[0] || open[1]); --n) {
        const double e =
            error(run(*subject.element, &Transducer::fnm_cw, medium, points, n), exact);
        for (const int t : {0, 1}) {
          open[t] = open[t] && e < kTolerances[t];
          if (open[t]) found[t] = n;
        }
      }
      for (const int t : {0, 1}) needed[t].push_back(found[t]);
    }
    data << "# " << family.name << '\n';
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      data << sizes[i] << ' ' << needed[0][i] << ' ' << needed[1][i] << ' '
           << family.rules[0].nodes(sizes[i]) << ' ' << family.rules[1].nodes(sizes[i]) << '\n';
    }
    data << "\n\n";
    for (const int t : {0, 1}) {
      std::vector<std::string> row{t == 0 ? family.name : "", t == 0 ? family.size : "",
                                   t == 0 ? "1e-3" : "1e-6"};
      bool holds = true;
      for (std::size_t i = 0; i < sizes.size(); ++i) {
        row.push_back(text("%d", needed[t][i]));
        holds = holds && needed[t][i] <= family.rules[t].nodes(sizes[i]);
      }
      row.emplace_back(holds ? "yes" : "**no**");
      table.row(row);
      std::cout << family.name << ' ' << row[2] << ": ";
      for (std::size_t i = 3; i < row.size(); ++i) std::cout << row[i] << ' ';
      std::cout << '\n';
    }
  }
  results.set("nodes", table.str());
}

/// How near to the face the rules of the table hold: their errors in planes before the face, edges
/// and corners included.
void study_closeness(Results& results) {
  constexpr double s = 8;
  const std::vector<Family> all = families();
  Table table(
      {"height above the face, wavelengths", "rectangle, 1e-3", "1e-6", "disc, 1e-3", "1e-6"});
  for (const double height : {1.0, 0.5, 0.2, 0.1, 0.05, 0.0}) {
    std::vector<std::string> row{text("%g", height)};
    for (const Family* family : {&all[0], &all[2]}) {
      const Subject subject = family->make(s);
      const Range across{0, s * kWavelength}, plane{height * kWavelength, height * kWavelength};
      const Points points = scatter(1500, across, across, plane);
      const Medium medium = fluid(0);
      const Field exact = evaluate(subject.exact, medium, points);
      for (const NodeRule& rule : family->rules) {
        row.push_back(number(error(
            run(*subject.element, &Transducer::fnm_cw, medium, points, rule.nodes(s)), exact)));
      }
    }
    table.row(row);
  }
  results.set("closeness", table.str());
}

// ---- loss
// ----------------------------------------------------------------------------------------

void study_loss(Results& results, const std::vector<Subject>& all) {
  std::ofstream data = results.file("loss.dat");
  Table table(
      {"dB/(cm MHz)", "alpha/k", "rectangle", "circular", "ring", "shell", "spherical ring"});
  for (const double loss : {0.1, 0.2, 0.5, 1.0, 2.0, 5.0, 10.0}) {
    const Medium medium = fluid(loss);
    const double ratio = reference::attenuation(medium) / reference::wavenumber(medium);
    std::vector<std::string> row{text("%g", loss), number(ratio)};
    data << loss << ' ' << ratio;
    for (const Subject& subject : all) {
      const Points& points = subject.zones[0].points;
      const Field exact = evaluate(subject.exact, medium, points);
      const Field field = run(*subject.element, &Transducer::fnm_cw, medium, points, 64);
      row.push_back(number(error(field, exact)) + " / " +
                    number(error(field, exact, loss_factor(medium))));
      data << ' ' << error(field, exact);
    }
    data << '\n';
    table.row(row);
  }
  results.set("loss", table.str());

  // Magnitudes along the axis, where two methods go their own ways.
  std::ofstream axial = results.file("axial.dat");
  const Subject &rectangle = all[0], &disc = all[1];
  const Medium medium = fluid(kLoss);
  Points axis;
  for (int i = 1; i <= 240; ++i) axis.emplace_back(0, 0, i * 0.5 * kMm);
  const Field columns[] = {evaluate(disc.exact, medium, axis),
                           run(*disc.element, &Transducer::fnm_cw, medium, axis, 64),
                           run(*disc.element, &Transducer::rayleigh_cw, medium, axis, 256),
                           run(*disc.element, &Transducer::rayleigh_cw_apodized, medium, axis, 256),
                           evaluate(rectangle.exact, medium, axis),
                           run(*rectangle.element, &Transducer::fnm_cw_single, medium, axis, 64),
                           run(*rectangle.element, &Transducer::fnm_cw_sse2, medium, axis, 64),
                           evaluate(rectangle.exact, fluid(0), axis)};
  for (std::size_t i = 0; i < axis.size(); ++i) {
    axial << axis[i].z / kMm;
    for (const Field& column : columns) axial << ' ' << std::abs(column[i]) / 1e6;
    axial << '\n';
  }
  const std::size_t at = 199;  // 100 mm
  results.set("growth_at_100mm", text("%.0f", std::abs(columns[2][at] / columns[0][at])));
  results.set("sse2_at_100mm", text("%.2f", std::abs(columns[6][at] / columns[4][at])));
}

/// What an unset frequency does to each method.
void study_unset_frequency(Results& results, const std::vector<Subject>& all) {
  Table table({"shape", "method", "pressure with f0 = 0"});
  for (const Subject& subject : all) {
    const Points& points = subject.zones[1].points;
    for (const NamedMethod& method : subject.methods) {
      const auto with = [&](double loss, double f0) {
        Medium medium = fluid(loss);
        medium._f0 = f0;
        return run(*subject.element, method.run, medium, points, 32);
      };
      const Field unset = with(kLoss, 0), lossless = with(0, kFrequency);
      std::string outcome = "something else";
      if (std::isnan(error(unset, lossless))) {
        outcome = "not a number";
      } else if (peak(unset) == 0) {
        outcome = "zero";
      } else if (error(unset, lossless) < 1e-12) {
        outcome = "that of 1 MHz without loss";
      }
      table.row({subject.name, text("`%s`", method.name), outcome});
    }
  }
  results.set("unset_frequency", table.str());
}

// ---- where single methods end
// --------------------------------------------------------------------

void study_far_field(Results& results, const Subject& rectangle) {
  std::ofstream data = results.file("farfield.dat");
  for (double distance = 0.02; distance < 2.1; distance *= 1.25892541179) {
    Points points;
    for (int i = 0; i < 12; ++i) {
      const double polar = i * 5 * std::numbers::pi / 180, azimuth = i * 0.7;
      points.emplace_back(distance * std::sin(polar) * std::cos(azimuth),
                          distance * std::sin(polar) * std::sin(azimuth),
                          distance * std::cos(polar));
    }
    data << distance;
    for (const double loss : {0.0, kLoss}) {
      const Medium medium = fluid(loss);
      const Field exact = evaluate(rectangle.exact, medium, points);
      const double e =
          error(run(*rectangle.element, &Transducer::farfield_cw, medium, points, 1), exact);
      data << ' ' << e;
      if (std::abs(distance - 1) < 0.05) {
        results.set(loss == 0 ? "farfield_1m" : "farfield_1m_lossy", number(e));
      }
    }
    data << '\n';
  }
}

void study_focus(Results& results, const Subject& shell) {
  std::ofstream data = results.file("focus.dat");
  const Medium medium = fluid(0);
  const double scale = std::abs(shell.exact(medium, {0, 0, kCurvature}, reference::kNodes));
  Table table({"distance from the centre", "`fnm_cw`", "`fnm_cw_sse`", "`rayleigh_cw_sse`"});
  for (int decade = -28; decade <= -8; ++decade) {
    const double distance = std::pow(10, decade / 4.0);
    Points points;
    for (int i = 0; i < 16; ++i) {
      const double polar = (i + 0.5) * std::numbers::pi / 16;
      points.emplace_back(distance * std::sin(polar), 0, kCurvature + distance * std::cos(polar));
    }
    const Field exact = evaluate(shell.exact, medium, points);
    std::vector<std::string> row{text("%g mm", distance / kMm)};
    data << distance;
    for (const Method method :
         {&Transducer::fnm_cw, &Transducer::fnm_cw_sse, &Transducer::rayleigh_cw_sse}) {
      const double e =
          error(run(*shell.element, method, medium, points, 128), exact) * peak(exact) / scale;
      data << ' ' << e;
      row.push_back(number(e));
    }
    data << '\n';
    if (decade % 4 == 0) table.row(row);
  }
  results.set("focus", table.str());
}

void study_apodized(Results& results, const Subject& disc) {
  Table table({"profile", "method", "32", "64", "128", "256"});
  std::ofstream data = results.file("apodized.dat");
  const Points points = scatter(60, {0, 12 * kMm}, {0, 12 * kMm}, {kWavelength / 2, 30 * kMm});
  const char* names[] = {"", "1, cosine", "2, raised cosine", "3, quadratic", "4, quartic"};
  const Medium medium = fluid(0);
  for (int index = 1; index <= 4; ++index) {
    const Reference exact_form = [=](const Medium& m, CartesianCoordinate p, int n) {
      return reference::apodized_disc(index, kRadius, m, p, n);
    };
    const Field exact = evaluate(exact_form, medium, points, 96);
    disc.element->set_piston_apodization_index(index);
    struct Variant {
      const char* name;
      Method run;
      double factor;
    };
    for (const Variant& variant :
         {Variant{"fnm_cw_apodized", &Transducer::fnm_cw_apodized, -std::numbers::pi * kRadius},
          Variant{"rayleigh_cw_apodized", &Transducer::rayleigh_cw_apodized, 1}}) {
      std::vector<std::string> row{names[index], text("`%s`", variant.name)};
      data << "# " << variant.name << ' ' << index << '\n';
      for (const int n : {16, 32, 64, 128, 256}) {
        const double e =
            error(run(*disc.element, variant.run, medium, points, n), exact, variant.factor);
        data << n << ' ' << e << '\n';
        if (n > 16) row.push_back(number(e));
      }
      data << "\n\n";
      table.row(row);
    }
  }
  disc.element->set_piston_apodization_index(0);
  results.set("apodized", table.str());
}

// ---- maps
// ----------------------------------------------------------------------------------------

/// The rectangle's field in the plane x = 0 and the errors of three methods in it.
void map_rectangle(Results& results, const Subject& rectangle) {
  const Medium medium = fluid(0);
  const int ny = 121, nz = 141;
  Points points;
  for (int k = 0; k < nz; ++k) {
    for (int j = 0; j < ny; ++j) points.emplace_back(0, (j - 60) * 0.2 * kMm, (k + 2) * 0.25 * kMm);
  }
  const Field exact = evaluate(rectangle.exact, medium, points, 128);
  const double scale = peak(exact);
  const Method methods[] = {&Transducer::fnm_cw, &Transducer::fnm_cw_single,
                            &Transducer::fnm_cw_sse};
  std::vector<Field> fields;
  for (const Method method : methods) {
    fields.push_back(run(*rectangle.element, method, medium, points, 24));
  }
  std::ofstream data = results.file("rectangle_map.dat");
  for (std::size_t i = 0; i < points.size(); ++i) {
    data << points[i].z / kMm << ' ' << points[i].y / kMm << ' ' << std::abs(exact[i]) / scale;
    for (const Field& field : fields) data << ' ' << std::abs(field[i] - exact[i]) / scale;
    data << '\n';
    if ((i + 1) % ny == 0) data << '\n';
  }
}

/// The spherical ring beside and behind its rim.
void map_spherical_ring(Results& results) {
  const double inner = 10 * kMm, outer = 15 * kMm, rc = 25 * kMm;
  const Element element = make<SphericalRingTransducer>(inner, outer, rc);
  const Medium medium = fluid(0);
  const int nx = 161;
  Points points;
  for (int k = 0; k < 121; ++k) {
    for (int i = 0; i < nx; ++i) {
      points.emplace_back((i + 0.5) * 0.125 * kMm, 0, (k - 12 + 0.5) * 0.1 * kMm);
    }
  }
  const Field field = run(*element, &Transducer::fnm_cw, medium, points, 128);
  std::ofstream data = results.file("spherical_ring_map.dat");
  for (std::size_t i = 0; i < points.size(); ++i) {
    data << points[i].x / kMm << ' ' << points[i].z / kMm << ' ' << std::abs(field[i]) / 1e6
         << '\n';
    if ((i + 1) % nx == 0) data << '\n';
  }
}

std::string read_file(const std::string& path) {
  std::ifstream stream(path);
  if (!stream) throw std::runtime_error("cannot read " + path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: accuracy TEMPLATE PAGE DATA_FOLDER\n";
    return 2;
  }
  try {
    Results results(argv[3]);
    const std::vector<Subject> all = subjects();
    study_nodes(results);
    study_closeness(results);
    for (const Subject& subject : all) study_convergence(results, subject);
    study_reference(results, all);
    study_loss(results, all);
    study_unset_frequency(results, all);
    study_far_field(results, all[0]);
    study_focus(results, all[3]);
    study_apodized(results, all[1]);
    map_rectangle(results, all[0]);
    map_spherical_ring(results);
    const std::string page = results.fill(read_file(argv[1]));
    std::ofstream(argv[2]) << page;
  } catch (const std::exception& problem) {
    std::cerr << "accuracy: " << problem.what() << '\n';
    return 1;
  }
  return 0;
}
