#pragma once

#include <cstdint>
#include <vector>

/// The bits of every four-wide kernel and of distances between points, over a range of arguments.
std::vector<std::uint64_t> values();
