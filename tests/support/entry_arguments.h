#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "mex/standalone/standalone_host.h"

/// Arguments of the compiled entries, as the toolbox makes them.

namespace kestrel::test {

using standalone::StructArray;
using standalone::Value;

/// Elements of one shape, side by side, one turned against the next; in `rows` rows.
inline StructArray elements(const char* shape, std::size_t count, double amplitude = 1,
                            std::size_t rows = 1) {
  StructArray array(rows, count / rows);
  for (std::size_t i = 0; i < count; ++i) {
    const double n = static_cast<double>(i);
    array.set("shape", shape, i).set("width", 1e-3, i).set("height", 2e-3, i);
    array.set("radius", 5e-3, i).set("rad_curvature", 20e-3, i);
    array.set("inner_radius", 1e-3, i).set("outer_radius", 4e-3, i);
    array.set("geometric_focus", 20e-3, i);
    array.set("amplitude", amplitude, i).set("phase", 0.1 * n, i).set("time_delay", 1e-7 * n, i);
    array.set("center", {1e-3 * n, 0.0, 0.0}, i).set("euler", {0.0, 0.1 * n, 0.0}, i);
  }
  return array;
}

inline StructArray regular_points(int nx, int nz, double zmin = 1e-3) {
  StructArray grid;
  grid.set("xmin", 0.0).set("xmax", 1e-3 * (nx - 1)).set("ymin", 0.0).set("ymax", 0.0);
  grid.set("zmin", zmin).set("zmax", zmin + 1e-3 * (nz - 1)).set("delta", {1e-3, 1e-3, 1e-3});
  return grid;
}

inline StructArray listed_points() {
  StructArray grid;
  grid.set("coordinates", Value::matrix(2, 3, {0, 1e-3, 0, 0, 15e-3, 20e-3}));
  return grid;
}

inline StructArray water() {
  StructArray medium;
  for (const char* field : {"specificheat", "specificheatofblood", "bloodperfusion",
                            "powerlawexponent", "thermalconductivity", "attenuationdBcmMHz"}) {
    medium.set(field, 0.0);
  }
  medium.set("nonlinearityparameter", 3.5).set("density", 1000.0).set("soundspeed", 1500.0);
  return medium;
}

inline StructArray time_axis(double tmin, double tmax, double deltat) {
  StructArray axis;
  axis.set("tmin", tmin).set("tmax", tmax).set("deltat", deltat);
  return axis;
}

inline StructArray listed_times() {
  StructArray axis;
  axis.set("time_samples", Value::row({1e-6, 2e-6, 2.5e-6, 4e-6}));
  return axis;
}

/// An analytic pulse: 1 tone burst, 2 Hanning, 3 t-cubed.
inline StructArray pulse(int type) {
  StructArray excitation;
  excitation.set("type", static_cast<double>(type)).set("A0", 1.0).set("f0", 1e6);
  excitation.set("pulse_width", 2e-6).set("B", 1e6);
  return excitation;
}

/// Two cycles of 1 MHz.
inline StructArray samples() {
  StructArray excitation;
  excitation.set("signal", Value::row({0, 1, 0.5, -1, -0.5, 1, 0, -1, 0.25}));
  excitation.set("ts", 0.25e-6).set("w", 2e-6).set("clip_threshold", 0.0);
  return excitation;
}

inline StructArray options(const char* method = "fnm_cw", double threads = 2) {
  StructArray settings;
  settings.set("method", method).set("instruction_set", "auto");
  settings.set("threads", threads).set("memory", 1e8);
  settings.set("reuse", Value::logical(true)).set("progress", Value::logical(false));
  settings.set("tolerance", Value::zeros(0, 0));
  return settings;
}

/// Options of a march that takes milliseconds.
inline StructArray march_options(const char* method, double threads = 2) {
  StructArray march, settings = options(method, threads);
  march.set("radial_step", 0.05).set("step", 4.0);
  settings.set("kzk", Value(march.release()));
  return settings;
}

/// Arguments of the functions that lay out an array, of all of them at once.
inline StructArray layout_arguments(const std::string& name, double n = 2) {
  StructArray arguments;
  const bool lattice = name == "planar_array";
  arguments.set("n", lattice ? Value::row({n, 2}) : Value::scalar(n));
  arguments.set("pitch", lattice ? Value::row({2e-3, 3e-3}) : Value::scalar(2e-3));
  arguments.set("width", 1e-3).set("height", 2e-3).set("radius", 50e-3);
  arguments.set("inner_radii", {0.0, 3e-3}).set("outer_radii", {2e-3, 4e-3});
  arguments.set("element_radius", 1e-3).set("aperture_radius", 20e-3).set("inner_radius", 0.0);
  arguments.set("rad_curvature", 60e-3).set("apodization_index", 0.0);
  arguments.set("prototype", Value(elements("circ", 1).release()));
  arguments.set("positions", Value::matrix(2, 3, {0, 5e-3, 0, 0, 0, 0}));
  arguments.set("normals", Value::matrix(1, 3, {0, 0.6, 0.8}));
  arguments.set("center", {1e-3, 2e-3, 3e-3}).set("euler", {0.1, 0.2, 0.3});
  arguments.set("amplitude", 2.0).set("phase", 0.5);
  return arguments;
}

/// Arguments of the functions that weigh or turn the elements of an array, likewise.
inline StructArray work_arguments(const std::string& name) {
  StructArray arguments;
  arguments.set("points", Value::matrix(2, 3, {0, 1e-3, 0, 0, 40e-3, 45e-3}));
  arguments.set("point", {0.0, 1e-3, 50e-3}).set("angles", {0.2, 0.1});
  arguments.set("medium", Value(water().release())).set("f0", 1e6);
  arguments.set("amplitude", name == "focus" ? "set" : "keep").set("pressure", {1.0, 2.0});
  arguments.set("window", "hann").set("along", "xy").set("euler", {0.1, 0.2, 0.3});
  return arguments;
}

}  // namespace kestrel::test
