#pragma once

#include <memory>

#include "elements/shape.h"

namespace kestrel {

/// A flat rectangular piston: full width along local x, full height along local y, metres.
///
/// Continuous-wave methods add the pressure at every grid point with local z >= 0; a negligible
/// amplitude (|amplitude| <= 1e-10) adds nothing unless a method says otherwise. With loss the fast
/// nearfield methods differ from the Rayleigh integral by the factor 1 - j alpha/k.
class RectangularTransducer : public Shape<Rectangle> {
 public:
  RectangularTransducer() = default;
  RectangularTransducer(double width, double height) : Shape(Rectangle{width, height}) {}
  RectangularTransducer(double width, double height, double time_delay)
      : Shape(Rectangle{width, height}, time_delay) {}
  RectangularTransducer(double width, double height, double amplitude, double phase)
      : Shape(Rectangle{width, height}, amplitude, phase) {}

  void debug(int level) override;
  void mex_debug(int level) override;

  /// `fnm_tsd` in three steps, for time axes that are re-ranged between calls: tables for the
  /// present rule, excitation and number of samples are made once, `call_fnm_tsd` adds the field
  /// for the samples of the axis's last update, `free_fnm_tsd` gives the tables back (without
  /// tables it does nothing). Between calls everything may change but the element's size, the
  /// rule's number of nodes, and the kind of excitation with its number of terms; and the axis must
  /// not outgrow the one present at init. A call that breaks this answers kMisuse and adds nothing.
  int init_fnm_tsd() override;
  int call_fnm_tsd() override;
  int free_fnm_tsd() override;

  // Shapes append their own methods to the table here.
  /// Fraunhofer field without attenuation.
  virtual int farfield_cw_lossless();

  double width() const { return _face.width; }
  double height() const { return _face.height; }

 private:
  struct TsdTables;
  /// While initialised. Copies of an element share it, and must then be used in turn.
  std::shared_ptr<TsdTables> _tsd;
};

}  // namespace kestrel
