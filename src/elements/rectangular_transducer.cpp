#include <iostream>
#include <optional>
#include <utility>

#include "kestrel/elements.h"
#include "kestrel/services.h"
#include "methods/common/wave_constants.h"
#include "methods/element_methods.h"
#include "methods/transient/transient_methods.h"

namespace kestrel {

using namespace detail;

void RectangularTransducer::debug(int level) {
  Transducer::debug(level);
  std::cout << "Width:" << _face.width << "\nHeight:" << _face.height << std::endl;
}

void RectangularTransducer::mex_debug(int level) {
  Transducer::mex_debug(level);
  services::print("width: %f\n", _face.width);
  services::print("height: %f\n\n", _face.height);
}

struct RectangularTransducer::TsdTables {
  RectangleDelays delays;
  std::unique_ptr<TransientField> field;
  // What the tables were made for.
  int nodes, terms, type, samples;
  TransientSum sum;
};

int RectangularTransducer::init_fnm_tsd() {
  if (!_integral || !_time_vector || !_excitation_function || !_medium) return kMisuse;
  const int nodes = _integral->get_npoints(), samples = _time_vector->nt();
  if (nodes < 1 || samples < 1) return kMisuse;
  free_fnm_tsd();
  const ExcitationFunction& excitation = *_excitation_function;
  try {
    RectangleDelays delays(_face.width, _face.height, abscissas(*_integral), weights(*_integral),
                           _medium->_rho_density, _medium->_soundspeed);
    auto field = make_transient_field(TransientSum::decomposed, excitation, delays, samples);
    _tsd = std::make_shared<TsdTables>(TsdTables{
        std::move(delays), std::move(field), nodes, excitation.number_of_exact_terms(),
        excitation.get_type(), samples, suitable_sum(TransientSum::decomposed, excitation)});
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
  return kSuccess;
}

int RectangularTransducer::call_fnm_tsd() {
  if (!_tsd || !inputs().has_transient_inputs()) return kMisuse;
  TsdTables& tables = *_tsd;
  const ExcitationFunction& excitation = *_excitation_function;
  const int samples = _time_vector->nt_local();
  const bool as_made = tables.nodes == _integral->get_npoints() &&
                       tables.terms == excitation.number_of_exact_terms() &&
                       tables.type == excitation.get_type() &&
                       tables.sum == suitable_sum(TransientSum::decomposed, excitation);
  if (!as_made || samples < 1 || samples > tables.samples) return kMisuse;
  if (is_negligible(_amplitude)) return kSuccess;
  try {
    tables.delays.set_medium(_medium->_rho_density, _medium->_soundspeed);
    tables.field->superpose(inputs(), tables.delays, samples);
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
  return kSuccess;
}

int RectangularTransducer::free_fnm_tsd() {
  _tsd.reset();
  return kSuccess;
}

int RectangularTransducer::farfield_cw_lossless() {
  ElementInputs in = inputs();
  return in.has_wave_inputs() ? detail::farfield_cw_lossless(_face, in) : kMisuse;
}

}  // namespace kestrel
