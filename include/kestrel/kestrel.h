#pragma once

/// Everything that a C++ program needs from kestrel.

#include "kestrel/arrays.h"
#include "kestrel/compiler.h"
#include "kestrel/elements.h"
#include "kestrel/error.h"
#include "kestrel/excitation.h"
#include "kestrel/field.h"
#include "kestrel/four_wide.h"
#include "kestrel/geometry.h"
#include "kestrel/grid.h"
#include "kestrel/instruction_set.h"
#include "kestrel/medium.h"
#include "kestrel/method.h"
#include "kestrel/nonlinear.h"
#include "kestrel/pressure_field.h"
#include "kestrel/quadrature.h"
#include "kestrel/services.h"
#include "kestrel/special_functions.h"
#include "kestrel/time_axis.h"
#include "kestrel/transducer.h"
