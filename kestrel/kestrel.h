#pragma once

/// Everything that a C++ program needs from kestrel.

#include "host/error.h"
#include "host/host.h"
#include "host/standalone/standalone_host.h"
#include "inputs/coordinate_grid.h"
#include "inputs/medium.h"
#include "inputs/numerical_integration.h"
#include "inputs/time_samples.h"
#include "transducers/cartesian_coordinate.h"
