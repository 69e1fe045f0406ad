#pragma once

#include <functional>

#include "methods/kzk/parameters.h"

namespace kestrel::fields {

/// Called on the calling thread, soon after long nonlinear marches have begun, with the seconds
/// that all of them will take, roughly.
using Announcement = std::function<void(double seconds)>;

}  // namespace kestrel::fields
