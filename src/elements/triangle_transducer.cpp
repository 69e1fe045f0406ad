#include "kestrel/elements.h"
#include "methods/common/wave_constants.h"

namespace kestrel {

void TriangleTransducer::debug(int level) { Transducer::debug(level); }
void TriangleTransducer::mex_debug(int level) { Transducer::mex_debug(level); }

int TriangleTransducer::fnm_cw() {
  if (!_medium || !_integral || !_global_coordinate_grid) return kMisuse;
  detail::frequency_or_default(*_medium);
  const int nodes = _integral->get_npoints();
  InitializeRotationMatrix();
  debug(2);
  constexpr int integrals = 6;
  for (int i = 0; i < _global_coordinate_grid->npoints(); ++i) {
    rotateTranslate(_global_coordinate_grid->spatial_index_value(i));
    for (int side = 0; side < integrals; ++side) {
      for (int j = 0; j < nodes; ++j) {
        (void)_integral->get_abscissa(j);
        (void)_integral->get_weight(j);
      }
    }
  }
  return kSuccess;
}

}  // namespace kestrel
