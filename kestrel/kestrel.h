#pragma once

/// Everything that a C++ program needs from kestrel.

#include "excitation/excitation_function.h"
#include "excitation/hanning_pulse.h"
#include "excitation/signal_rate.h"
#include "excitation/t_cubed_pulse.h"
#include "excitation/tone_burst.h"
#include "host/error.h"
#include "host/host.h"
#include "host/standalone/standalone_host.h"
#include "inputs/coordinate_grid.h"
#include "inputs/medium.h"
#include "inputs/numerical_integration.h"
#include "inputs/time_samples.h"
#include "transducers/cartesian_coordinate.h"
#include "transducers/debug_m128.h"
#include "transducers/pressure_field.h"
#include "transducers/scatterer.h"
#include "transducers/shape.h"
#include "transducers/transducer.h"
