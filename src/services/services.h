#pragma once

/// What the library asks of the program that it is part of: a console, memory, and whether the user
/// wants to stop. A plain program has the defaults; a plug-in installs its host's.

#include <cstddef>

#include "services/error.h"

namespace kestrel::services {

/// The services of a program. All of them are called on one thread only, the one that called the
/// library (see off_host_thread.h).
struct Services {
  /// Shows text on the console at once. Default: standard output.
  void (*print)(const char* text);
  /// Shows a warning; the call goes on. Default: a line on standard error.
  void (*warn)(const char* text);
  /// Whether the user wants the running call to end. May throw an exception of the host's own,
  /// which unwinds every scope. Default: never.
  bool (*interrupted)();
  /// Zeroed bytes, aligned to 16, or null. Default: std::calloc.
  void* (*allocate)(std::size_t bytes);
  /// Takes back what `allocate` gave. Default: std::free.
  void (*release)(void* block);
};

/// The services of a program without a host.
extern const Services kStandardServices;

/// From now on the library uses `services`. They must outlive every block that they allocate. To be
/// called before anything else, or between calculations.
void install(const Services& services);

/// Prints formatted text.
void print(const char* format, ...) KESTREL_PRINTF_LIKE(1, 2);

/// Issues a warning.
void warn(const char* text);

/// Whether the user wants the running call to end (Ctrl-C). Long work asks now and then, on the
/// calling thread.
bool interrupted();

/// `count` zeroed blocks of `size` bytes. Throws Error when the memory cannot be had. Never null,
/// for no bytes either, and aligned to 16 bytes. Release with `release` and nothing else: a header
/// in front of the block names its allocator.
void* allocate_zeroed(std::size_t count, std::size_t size);
void release(void* block) noexcept;

}  // namespace kestrel::services
