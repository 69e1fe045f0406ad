/// The compiled half of the functions that lay out arrays and weigh their elements.
///
///     array = arrays (name, arguments)
///     [amplitude, phase, time_delay, euler1, euler2, euler3] = arrays (name, arguments, array)
///     [area, extent, inscribed_radius] = arrays ('faces', arguments, array)
///     shapes = arrays ('shapes', arguments)
///     wave = arrays ('wavenumber', arguments)
///
/// `name` is that of the user's function, for example 'linear_array' or 'focus'. `arguments` is a
/// structure with the function's arguments and options by their names. The first form makes an
/// array of elements, the second returns the drive and the angles of the elements of `array`, and
/// the third what their shapes say of their faces, rows of one number for each element. The fourth
/// lists the shapes that there are, each with its name and the fields of its sizes. The last has a
/// column for each frequency f0: wavenumber (rad/m) and attenuation (Np/m).

#include "kestrel/arrays.h"

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "kestrel/error.h"
#include "mex/entries/entry_support.h"
#include "mex/host/entry.h"
#include "mex/readers/element_reader.h"
#include "mex/readers/element_writer.h"
#include "mex/readers/input_readers.h"
#include "mex/readers/structure_reader.h"

namespace kestrel::gateway {

namespace {

/// The arguments of one call.
class Arguments {
 public:
  explicit Arguments(const mxArray* structure) : _structure(structure) {}

  bool has(const char* name) const {
    const mxArray* value = field_value(_structure, name);
    return value != nullptr && !mxIsEmpty(value);
  }
  const mxArray* value(const char* name) const {
    const mxArray* value = field_value(_structure, name);
    if (value == nullptr) fail("the argument '%s' is missing.", name);
    return value;
  }
  double number(const char* name) const { return read_scalar(value(name), "arguments", name); }
  double number_or(const char* name, double absent) const {
    return has(name) ? number(name) : absent;
  }
  static int count(double number, const char* name = "n") {
    if (!(number == std::floor(number) && std::abs(number) < 2147483648.0)) {
      fail("%s must be a whole number, but it is %g.", name, number);
    }
    return static_cast<int>(number);
  }
  std::string text(const char* name) const { return text_option(_structure, name); }
  bool is_text(const char* name) const { return mxIsChar(value(name)); }

  std::vector<double> numbers(const char* name) const { return numbers(value(name), name); }
  static std::vector<double> numbers(const mxArray* value, const char* name) {
    const double* entries = read_real_doubles(value, "arguments", name);
    return entries == nullptr
               ? std::vector<double>()
               : std::vector<double>(entries, entries + mxGetNumberOfElements(value));
  }
  CartesianCoordinate triple(const char* name) const {
    const std::vector<double> entries = numbers(name);
    if (entries.size() != 3) fail("%s must have 3 entries, but it has %zu.", name, entries.size());
    return {entries[0], entries[1], entries[2]};
  }
  std::optional<CartesianCoordinate> optional_triple(const char* name) const {
    if (!has(name)) return std::nullopt;
    return triple(name);
  }
  /// The rows of an m-by-3 matrix.
  std::vector<CartesianCoordinate> points(const char* name) const {
    const std::vector<double> entries = numbers(name);
    if (entries.size() % 3 != 0 || mxGetNumberOfDimensions(value(name)) != 2 ||
        entries.size() != 3 * mxGetM(value(name))) {
      fail("%s must be an m-by-3 matrix of x, y and z in metres.", name);
    }
    const std::size_t rows = entries.size() / 3;
    std::vector<CartesianCoordinate> points;
    for (std::size_t i = 0; i < rows; ++i) {
      points.emplace_back(entries[i], entries[rows + i], entries[2 * rows + i]);
    }
    return points;
  }

  Rectangle rectangle() const { return {number("width"), number("height")}; }
  Placement placement() const {
    return {.center = triple("center"),
            .euler = triple("euler"),
            .amplitude = numbers("amplitude"),
            .phase = numbers("phase")};
  }
  Medium medium() const {
    const mxArray* structure = value("medium");
    return Medium(&structure);
  }

 private:
  const mxArray* _structure;
};

struct Layout {
  const char* name;
  std::vector<Element> (*make)(const Arguments& a);
};

constexpr Layout kLayouts[] = {
    {"linear_array",
     [](const Arguments& a) {
       return linear_array(a.count(a.number("n")), a.rectangle(), a.number("pitch"), a.placement());
     }},
    {"planar_array",
     [](const Arguments& a) {
       const std::vector<double> n = a.numbers("n"), pitch = a.numbers("pitch");
       if (n.size() != 2 || pitch.size() != 2) fail("n and pitch must have 2 entries.");
       return planar_array({a.count(n[0]), a.count(n[1])}, a.rectangle(), {pitch[0], pitch[1]},
                           a.placement());
     }},
    {"curved_array",
     [](const Arguments& a) {
       return curved_array(a.count(a.number("n")), a.rectangle(), a.number("pitch"),
                           a.number("radius"), a.placement());
     }},
    {"annular_array",
     [](const Arguments& a) {
       return annular_array(a.numbers("inner_radii"), a.numbers("outer_radii"),
                            a.number("rad_curvature"), a.placement());
     }},
    {"bowl_array",
     [](const Arguments& a) {
       const Bowl bowl{
           .element_radius = a.number("element_radius"),
           .aperture_radius = a.number("aperture_radius"),
           .rad_curvature = a.number("rad_curvature"),
           .inner_radius = a.number("inner_radius"),
           .apodization_index = a.count(a.number("apodization_index"), "apodization_index")};
       return bowl_array(a.count(a.number("n")), bowl, a.placement());
     }},
    {"from_positions",
     [](const Arguments& a) {
       return place(from_positions(read_element(a.value("prototype"), 0), a.points("positions"),
                                   a.points("normals")),
                    a.placement());
     }},
};

/// A row with one number for each element.
using Row = double (*)(const Element& element);

constexpr Row kDrive[] = {
    [](const Element& e) { return e.amplitude; },  [](const Element& e) { return e.phase; },
    [](const Element& e) { return e.time_delay; }, [](const Element& e) { return e.euler.x; },
    [](const Element& e) { return e.euler.y; },    [](const Element& e) { return e.euler.z; }};

constexpr Row kFaces[] = {
    [](const Element& e) {
      return std::visit([](const auto& face) { return face.area(); }, e.geometry);
    },
    [](const Element& e) { return extent(e.geometry); },
    [](const Element& e) {
      return std::visit([](const auto& face) { return face.inscribed_radius(); }, e.geometry);
    }};

/// What is done with the elements of an array, and what is told of them.
struct Work {
  const char* name;
  void (*apply)(std::span<Element> array, const Arguments& a);
  std::span<const Row> rows = kDrive;
};

/// Calls apply(theta, phi) with the argument 'angles'.
template <class Apply>
void with_angles(const Arguments& a, const Apply& apply) {
  const std::vector<double> angles = a.numbers("angles");
  if (angles.size() != 2) fail("angles must have 2 entries, but it has %zu.", angles.size());
  apply(angles[0], angles[1]);
}

/// A window by name or by numbers.
Window read_window(const mxArray* value, std::string& name) {
  if (value == nullptr) fail("a window is missing.");  // a cell that was never set
  if (!mxIsChar(value)) return Arguments::numbers(value, "window");
  char text[32] = "";
  mxGetString(value, text, sizeof text);
  name = text;
  return std::string_view(name);
}

void apply_window(std::span<Element> array, const Arguments& a) {
  const mxArray* window = a.value("window");
  const auto euler = a.optional_triple("euler");
  std::string names[2];
  if (a.text("along") == "radius" && mxIsChar(window)) {
    read_window(window, names[0]);
    apodize_radially(array, names[0], euler);
  } else if (mxIsCell(window)) {
    if (mxGetNumberOfElements(window) != 2) {
      fail("a cell array of windows must have two, for x and for y.");
    }
    apodize(
        array,
        {read_window(mxGetCell(window, 0), names[0]), read_window(mxGetCell(window, 1), names[1])},
        euler);
  } else if (mxIsChar(window)) {
    const Window both = read_window(window, names[0]);
    apodize(array, {both, both}, euler);
  } else {
    apodize(array, a.numbers("window"));
  }
}

constexpr Work kWork[] = {
    {"focus",
     [](std::span<Element> array, const Arguments& a) {
       focus(array, a.points("points"), a.medium(), a.number("f0"),
             {.set_amplitude = a.text("amplitude") == "set", .pressure = a.numbers("pressure")});
     }},
    {"steer",
     [](std::span<Element> array, const Arguments& a) {
       with_angles(a, [&](double theta, double phi) {
         steer(array, theta, phi, a.medium(), a.number("f0"), a.optional_triple("euler"));
       });
     }},
    {"plane_wave_delays",
     [](std::span<Element> array, const Arguments& a) {
       with_angles(a, [&](double theta, double phi) {
         plane_wave_delays(array, theta, phi, a.medium(), a.optional_triple("euler"));
       });
     }},
    {"apodize", apply_window},
    {"focus_delays",
     [](std::span<Element> array, const Arguments& a) {
       focus_delays(array, a.triple("point"), a.medium());
     }},
    {"aim", [](std::span<Element> array, const Arguments& a) { aim(array, a.triple("point")); }},
    {"faces", [](std::span<Element>, const Arguments&) {}, kFaces},
};

void compute(int nlhs, mxArray** plhs, int nrhs, const mxArray** prhs, const std::string& name) {
  const Arguments arguments(prhs[1]);
  if (nrhs == 2) {
    if (name == "shapes") {
      plhs[0] = write_shapes();
      return;
    }
    if (name == "wavenumber") {
      const Medium medium = arguments.medium();
      const std::vector<double> f0 = arguments.numbers("f0");
      plhs[0] = write_matrix(2, f0.size(), [&](std::size_t row, std::size_t i) {
        return row == 0 ? medium.wavenumber(f0[i]) : medium.attenuation(f0[i]);
      });
      return;
    }
    for (const Layout& layout : kLayouts) {
      if (name != layout.name) continue;
      plhs[0] = write_elements(layout.make(arguments));
      return;
    }
  } else {
    std::vector<Element> array = read_elements(prhs[2]);
    for (const Work& work : kWork) {
      if (name != work.name) continue;
      work.apply(array, arguments);
      const auto count = static_cast<std::size_t>(std::max(nlhs, 1));
      if (count > work.rows.size()) fail("there are only %zu results.", work.rows.size());
      for (std::size_t i = 0; i < count; ++i) {
        plhs[i] = write_matrix(1, array.size(),
                               [&](std::size_t, std::size_t e) { return work.rows[i](array[e]); });
      }
      return;
    }
  }
  fail("there is no such function.");
}

}  // namespace

}  // namespace kestrel::gateway

extern "C" void mexFunction(int nlhs, mxArray* plhs[], int nrhs, const mxArray* prhs[]) {
  using namespace kestrel;
  host::run_entry(
      [&] {
        char name[64] = "";
        if (nrhs < 2 || nrhs > 3 || !mxIsStruct(prhs[1]) ||
            mxGetString(prhs[0], name, sizeof name) != 0) {
          fail("expected arrays(name, arguments) or arrays(name, arguments, array).");
        }
        const std::string user_name = std::string("kestrel.") + name;
        gateway::run_named(user_name.c_str(),
                           [&] { gateway::compute(nlhs, plhs, nrhs, prhs, name); });
      },
      "kestrel:argument");
}
