#pragma once

/// Everything that a C++ program needs from kestrel.

#include "host/error.h"
#include "host/standalone/standalone_host.h"
