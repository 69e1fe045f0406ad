// Measures the validation table of docs/nonlinear.md: the table that the tests run the quick rows
// of, and checks that take minutes. `make validate` runs it; given the document, it replaces
// what stands there between two marks, else it prints.

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "validation/kzk_table.h"
#include "validation/reference/nonlinear.h"

namespace {

using namespace kestrel;
using checks::Complex;
using kzk::CwProblem;
using kzk::Point;
using reference::kPi;

std::string table;

/// Shows the line at once and keeps it for the document.
void put(const char* format, ...) {
  char line[400];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  std::fputs(line, stdout);
  std::fflush(stdout);
  table += line;
}

void heading(const char* text) {
  put("\n%s\n\n| check | measured | accepted |\n|---|---|---|\n", text);
}

bool all_accepted = true;

void row(const std::string& check, double measured, double accepted) {
  const bool ok = measured <= accepted;
  all_accepted = all_accepted && ok;
  put("| %s | %.2g%s | %.2g |\n", check.c_str(), measured, ok ? "" : " **missed**", accepted);
}

void note(const std::string& check, double measured) {
  put("| %s | %.2g | reported |\n", check.c_str(), measured);
}

std::string with(const char* text, double value) {
  char buffer[160];
  std::snprintf(buffer, sizeof buffer, text, value);
  return buffer;
}

/// The rows that the tests share.
void shared_rows() {
  std::string section;
  for (const checks::Check& check : checks::all_checks()) {
    if (check.section != section) {
      section = check.section;
      heading(section.c_str());
    }
    const std::vector<double> measured = check.measure({});
    for (std::size_t i = 0; i < measured.size(); ++i) {
      if (check.accepted[i] > 0) {
        row(check.label(i), measured[i], check.accepted[i]);
      } else {
        note(check.label(i), measured[i]);
      }
    }
  }
}

/// Linear pressure over rho c w by single integrals over the rim.
Complex linear_field(const reference::Source& source, double k, double r, double z) {
  const int nodes = 96;
  const double a = source.radius, curvature = source.curvature;
  Complex sum = 0;
  if (curvature == 0) {
    if (std::fabs(r - a) < 1e-12) r += 1e-9;
    for (int i = 0; i < nodes; ++i) {
      const double c = std::cos((i + 0.5) * kPi / nodes);
      const double q = r * r + a * a - 2 * a * r * c;
      sum +=
          (r * c - a) / q * (std::polar(1.0, -k * std::sqrt(q + z * z)) - std::polar(1.0, -k * z));
    }
    return sum * (a / nodes);
  }
  const double h = std::sqrt(curvature * curvature - a * a);
  double zeta = z - curvature;
  if (std::fabs(zeta) < 1e-9) zeta = 1e-9;
  const double direct = curvature + std::copysign(std::hypot(r, zeta), zeta);
  for (int i = 0; i < nodes; ++i) {
    const double c = std::cos((i + 0.5) * kPi / nodes);
    const double t1 = r * c * h, t2 = a * zeta, t3 = r * a * c;
    const double factor =
        (t1 + t2) / (2 * a * zeta * t1 + r * r * curvature * curvature - t3 * t3 + t2 * t2);
    const double rim =
        std::sqrt(curvature * curvature + r * r + zeta * zeta - 2 * a * r * c + 2 * zeta * h);
    sum += factor * (std::polar(1.0, -k * direct) - std::polar(1.0, -k * rim));
  }
  return sum * (-curvature * a / nodes);
}

/// The weak second harmonic on the axis, over p0^2 beta / (rho c^2), of the full wave equation with
/// its quadratic source: S = 2 k^2 P1^2 through the Green's function of 2k, in the distance R from
/// the observation point, where r dr = R dR takes out the singularity. Waves from behind the point
/// and from far off the axis are tapered off.
Complex second_harmonic(const reference::Source& source, double k, double z) {
  const double wavelength = 2 * kPi / k;
  const double dz = wavelength / 16, dR = wavelength / 32;
  const double widest = source.radius * (source.curvature > 0 ? 4 : 7);
  const double behind = 6 * wavelength;
  const int count = std::max(240, static_cast<int>(12 * widest / wavelength));
  const double dr = widest / count;
  Complex total = 0;
  std::vector<Complex> square(count + 3);
  for (double depth = dz / 2; depth < z + behind; depth += dz) {
    for (int i = 0; i < count + 3; ++i) {
      // Behind a bowl there is no fluid.
      const double to_centre = std::hypot(i * dr, source.curvature - depth);
      const bool behind_bowl = depth < source.rim_depth() && to_centre > source.curvature;
      const Complex p = behind_bowl ? 0 : linear_field(source, k, i * dr, depth);
      square[i] = p * p;
    }
    const double beyond = depth - z;
    const double d = std::fabs(beyond);
    Complex slice = 0;
    for (double R = d + dR / 2; R < std::hypot(d, widest); R += dR) {
      const double at = std::sqrt(R * R - d * d) / dr;
      const int base = static_cast<int>(at);
      const double share = at - base;
      const double taper =
          at < 0.6 * count ? 1 : 0.5 + 0.5 * std::cos(kPi * (at / count - 0.6) / 0.4);
      Complex value = square[0] * (1 - share * share) + square[1] * (share * share);
      if (base > 0) {
        const double nodes[4] = {-1, 0, 1, 2};
        double weights[4];
        kzk::lagrange_weights(nodes, share, weights);
        value = 0;
        for (int i = 0; i < 4; ++i) value += weights[i] * square[base - 1 + i];
      }
      slice += taper * value * std::polar(dR, -2 * k * R);
    }
    total += (beyond <= 0 ? 1 : 0.5 + 0.5 * std::cos(kPi * beyond / behind)) * dz * slice;
  }
  return -k * k * total;
}

void second_harmonics() {
  heading(
      "Weak second harmonic on the axis against the full wave equation (over the beam's peak; near "
      "the face over the largest of these depths)");
  struct Case {
    const char* name;
    CwProblem problem;
    std::vector<double> depths;
    double accepted;  // 0 for near the face
  };
  std::vector<Case> cases = {
      {"piston, ka 20, 0.2-0.5 z_R", checks::linear_piston(20, {}), {0.2, 0.3, 0.5}, 0.03},
      {"piston, ka 20, 0.8-2 z_R", checks::linear_piston(20, {}), {0.8, 1.2, 2}, 0.01},
      {"shell, 12 degrees, 0.5-1.3 R", checks::linear_shell(12, 6, {}), {0.5, 0.7, 1, 1.3}, 0.015},
      {"shell, 20 degrees, 0.5-1.3 R",
       checks::linear_shell(20, 6, {}),
       {0.5, 0.6, 0.8, 1, 1.3},
       0.03},
      {"piston, ka 20, 0.05-0.15 z_R (0.5-1.5 radii)",
       checks::linear_piston(20, {}),
       {0.05, 0.1, 0.15},
       0},
      {"piston, ka 80, 0.02-0.2 z_R (0.8-8 radii)",
       checks::linear_piston(80, {}),
       {0.02, 0.035, 0.05, 0.1, 0.2},
       0},
      {"shell, 12 degrees, 0.1-0.4 R", checks::linear_shell(12, 6, {}), {0.1, 0.2, 0.3, 0.4}, 0},
      {"shell, 20 degrees, 0.1-0.4 R", checks::linear_shell(20, 6, {}), {0.1, 0.2, 0.3, 0.4}, 0}};
  for (Case& c : cases) {
    CwProblem& problem = c.problem;
    const auto points = checks::at_depths(checks::beam_of(problem).length(), c.depths);
    problem.points = points;
    problem.fluid.beta = 3.5;
    problem.weight = 1e-4;
    problem.parameters.harmonics = 3;
    problem.wanted = {2};
    const reference::Source source = {problem.aperture.radius, problem.aperture.curvature};
    const bool near = c.accepted == 0;
    // So near to a piston the default radial step does not resolve the linear beam.
    if (near && source.curvature == 0) problem.parameters.radial_step = 0.005f;
    const double p0 = problem.fluid.density * problem.fluid.sound_speed * 1e-4;
    const double scale =
        p0 * p0 * problem.fluid.beta /
        (problem.fluid.density * problem.fluid.sound_speed * problem.fluid.sound_speed);
    const auto with_depth = kzk::march_cw(problem).pressure;
    problem.true_depth = false;
    const auto without = kzk::march_cw(problem).pressure;
    double error = 0, plain_error = 0, scaled_error = 0, peak = 0;
    const double k = checks::wavenumber(problem);
    const kzk::Beam beam = checks::beam_of(problem);
    if (!near) {
      peak = std::abs(second_harmonic(source, k, beam.length() * (source.curvature > 0 ? 1 : 0.8)));
    }
    for (std::size_t i = 0; i < points.size(); ++i) {
      const Complex exact = second_harmonic(source, k, points[i].z);
      const double scaling = points[i].z / beam.corrected_depth(points[i]).depth;
      error = std::max(error, std::abs(with_depth[i] / scale - exact));
      plain_error = std::max(plain_error, std::abs(without[i] / scale - exact));
      scaled_error = std::max(scaled_error, std::abs(scaling * with_depth[i] / scale - exact));
      if (near) peak = std::max(peak, std::abs(exact));
    }
    if (near) {
      note(c.name, error / peak);
    } else {
      row(c.name, error / peak, c.accepted);
    }
    note(std::string(c.name) + ", without the reading depth", plain_error / peak);
    note(std::string(c.name) + ", times z over the reading depth", scaled_error / peak);
  }
}

/// The second harmonic of a tone burst (2 MHz, 2 MPa, radius 20 mm) on a piston's axis before the
/// wave from the rim arrives, when it is a plane wave, against that wave's at the reading depth or
/// at the depth itself.
void plane_part() {
  heading("A burst on the axis before the wave from the rim: second harmonic, relative");
  const double f0 = 2e6, c = 1500, radius = 0.02, pressure = 2e6, beta = 3.5;
  for (const double radii : {0.25, 0.5, 1.0}) {
    const std::vector<Point> points = {{0, radii * radius}};
    kzk::TransientProblem burst;
    burst.aperture = {radius, 0};
    burst.fluid = {f0, c, 1000, beta, 0};
    burst.points = points;
    burst.amplitude = pressure / (1000 * c);
    burst.drive.at = [=](double t) {
      return t <= 0 ? 0 : std::min(1.0, t * f0 / 2) * std::sin(2 * kPi * f0 * t);
    };
    burst.drive.frequency = f0;
    std::vector<double> times;
    const int samples = 200;
    for (int i = 0; i < samples; ++i) {
      times.push_back(points[0].z / c + (5 + static_cast<double>(i) / samples) / f0);
    }
    burst.times = times;
    const auto trace = kzk::march_transient(burst).pressure;
    Complex second = 0;
    for (int i = 0; i < samples; ++i) {
      second += static_cast<double>(trace.at(i)) *
                std::polar(2.0 / samples, -4 * kPi * static_cast<double>(i) / samples);
    }
    const double per_metre = beta * 2 * kPi * f0 * pressure / (1000 * c * c * c);
    const double depth = checks::beam_of(burst).corrected_depth(points[0]).depth;
    const auto off = [&](double way) {
      return std::fabs(std::abs(second) / pressure / reference::plane_harmonic(2, way * per_metre) -
                       1);
    };
    row(with("%g radii, against the reading depth", radii), off(depth), 0.02);
    note(with("%g radii, against the depth itself", radii), off(points[0].z));
  }
}

double apart(const std::vector<float>& a, const std::vector<float>& b) {
  double most = 0, difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    most = std::max(most, std::fabs(static_cast<double>(b[i])));
    difference = std::max(difference, std::fabs(static_cast<double>(a[i]) - b[i]));
  }
  return difference / most;
}

void windows_and_parameters() {
  heading("Windows, sampled drives, parameters (difference over the peak)");
  const double f0 = 1e6;
  const auto tone = [=](double t) {
    return t > 0 && t < 3 / f0
               ? 0.5 * (1 - std::cos(2 * kPi * f0 * t / 3)) * std::sin(2 * kPi * f0 * t)
               : 0.0;
  };
  std::vector<Point> points = {{0, 0.03}, {0.01, 0.03}, {0, 0.2}, {0.03, 0.1}};
  std::vector<double> times;
  for (int i = 0; i < 2000; ++i) times.push_back(15e-6 + i * 0.1e-6);
  kzk::TransientProblem base;
  static_cast<kzk::Problem&>(base) = checks::unfocused(points);
  base.true_depth = true;
  base.parameters.samples_per_period = 60;
  base.amplitude = 0.2;
  base.drive = {tone, f0, 3 / f0, 0, 0};
  base.times = times;
  const auto reference = kzk::march_transient(base).pressure;

  kzk::TransientProblem changed = base;
  changed.drive.duration = INFINITY;
  row("window closed by the edge-delay rule, against none",
      apart(reference, kzk::march_transient(changed).pressure), 2e-3);
  changed = base;
  changed.parameters.guard_periods = 0.5;
  row("guard of half a period", apart(kzk::march_transient(changed).pressure, reference), 5e-3);
  changed.parameters.guard_periods = 100;
  row("guard of 100 periods", apart(kzk::march_transient(changed).pressure, reference), 5e-3);
  const auto sampled = [&](double per_period) {
    changed = base;
    changed.parameters.samples_per_period = static_cast<float>(per_period);
    return kzk::march_transient(changed).pressure;
  };
  const auto fine = sampled(200);
  row("20 samples a period against 60", apart(sampled(20), reference), 0.1);
  row("200 samples a period against 60", apart(fine, reference), 0.01);
  row("2000 samples a period against 200", apart(sampled(2000), fine), 0.002);
  changed = base;
  changed.drive.frequency = 1.3e6;
  row("reference frequency 1.3 MHz instead of 1",
      apart(kzk::march_transient(changed).pressure, reference), 0.01);
  for (const double per_period : {20.0, 80.0}) {
    changed = base;
    const double ts = 1 / (per_period * f0);
    changed.drive.sampling_interval = ts;
    changed.drive.at = [=](double t) {  // straight lines between the samples
      const double i = std::floor(t / ts);
      const double share = t / ts - i;
      return (1 - share) * tone(i * ts) + share * tone((i + 1) * ts);
    };
    note(with("drive sampled %g times a period, straight lines between", per_period),
         apart(kzk::march_transient(changed).pressure, reference));
  }

  const auto axis = checks::at_depths(0.1, checks::range(0.4, 2, 41));
  const CwProblem piston = checks::linear_piston(20, axis);
  struct Change {
    const char* name;
    float kzk::Parameters::*member;
    float value;
    double accepted;
  };
  for (const Change& c : {Change{"step factor 0.05", &kzk::Parameters::step_factor, 0.05f, 0.002},
                          {"step factor 4", &kzk::Parameters::step_factor, 4, 0.02},
                          {"radial step 0.0005", &kzk::Parameters::radial_step, 0.0005f, 0.002},
                          {"radial step 0.1", &kzk::Parameters::radial_step, 0.1f, 0.02},
                          {"domain radius 1.5", &kzk::Parameters::domain_radius, 1.5f, 1.0},
                          {"domain radius 4", &kzk::Parameters::domain_radius, 4, 0.05},
                          {"domain radius 100", &kzk::Parameters::domain_radius, 100, 0.002}}) {
    CwProblem other = piston;
    other.parameters.*c.member = c.value;
    row(std::string(c.name) + ", piston axis from 0.4 to 2 z_R", checks::field_error(other),
        c.accepted);
  }
}

/// The document around the table, which stands between two marks.
class Document {
 public:
  explicit Document(const char* path) : _path(path) {
    std::ifstream in(path);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const std::string begin = "<!-- validation: begin -->\n", end = "<!-- validation: end -->";
    const auto from = text.find(begin), to = text.find(end);
    if (from == std::string::npos || to == std::string::npos) return;
    _before = text.substr(0, from + begin.size());
    _after = text.substr(to);
  }
  bool has_marks() const { return !_after.empty(); }
  bool write(const std::string& between) const {
    std::ofstream out(_path);
    out << _before << between << _after;
    return static_cast<bool>(out.flush());
  }

 private:
  const char* _path;
  std::string _before, _after;
};

}  // namespace

int main(int argc, char** argv) {
  // Before the minutes of measuring: is there a place to put the table?
  std::optional<Document> document;
  if (argc > 1) document.emplace(argv[1]);
  if (document && !document->has_marks()) {
    std::fprintf(stderr, "%s: the marks of the validation table are missing\n", argv[1]);
    return 1;
  }
  shared_rows();
  second_harmonics();
  plane_part();
  windows_and_parameters();
  if (document && !document->write(table + "\n")) {
    std::fprintf(stderr, "%s: cannot be written\n", argv[1]);
    return 1;
  }
  return all_accepted ? 0 : 1;
}
