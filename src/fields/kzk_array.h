#pragma once

#include <complex>
#include <span>

#include "fields/run.h"
#include "kestrel/excitation.h"
#include "kestrel/time_axis.h"

/// Nonlinear beams of whole arrays. Each element is marched alone, several side by side when there
/// are threads for them, and the fields are added in the order of the elements: how the beams of
/// different elements distort each other is not modelled. The results are those of the elements'
/// own methods, bit for bit, for any number of threads.

namespace kestrel::fields {

/// Fails, naming the first element that sounds, when the list of points alone takes more storage
/// than a march may: this is known before anything is placed or marched.
void check_march_points(const Run& run);

/// Adds harmonic harmonics[h] to result[h * points + i], all from one march of each element;
/// without harmonics, the one that the parameters name to result[i]. Reports the size of the
/// largest march, its bytes for as many marches as run at a time, and the warnings, once each,
/// naming the first element that they are about. Fails naming the element, with nothing but whole
/// elements added, and with Cancelled.
void add_harmonics(Run& run, std::span<const int> harmonics, std::complex<double>* result);

/// Adds pulses to result[i + k * points], sample k of `time`; likewise. `excitations`: one for all
/// elements or one for each.
void add_pulses(Run& run, const TimeSamples& time,
                std::span<const ExcitationFunction* const> excitations, double* result);

}  // namespace kestrel::fields
