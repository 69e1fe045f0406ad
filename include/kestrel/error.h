#pragma once

#include <stdexcept>
#include <string>

namespace kestrel {

#if defined(__MINGW32__)  // whose printf is another, unless this one is asked for
#define KESTREL_PRINTF_LIKE(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define KESTREL_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define KESTREL_PRINTF_LIKE(text, first)
#endif

/// What went wrong, for callers that treat kinds of failure differently.
enum class ErrorKind {
  invalid_argument,  ///< an input is missing, of the wrong type or impossible
  unsupported,       ///< the shape or the build lacks what was asked for
  out_of_memory,     ///< memory could not be had, or more was asked for than may be used
  cancelled,         ///< the user ended the run
  numerical,         ///< the calculation itself failed: it diverged, or found no solution
};

/// What every failure inside kestrel throws. The text is complete: it is what the user reads.
class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& text, ErrorKind kind = ErrorKind::invalid_argument)
      : std::runtime_error(text), _kind(kind) {}
  ErrorKind kind() const { return _kind; }

 private:
  ErrorKind _kind;
};

/// The progress callback, or Ctrl-C, asked to stop.
class Cancelled : public Error {
 public:
  Cancelled() : Error("The calculation was cancelled.", ErrorKind::cancelled) {}
};

/// Throws Error with the formatted text: an invalid argument unless a kind is given.
[[noreturn]] void fail(const char* format, ...) KESTREL_PRINTF_LIKE(1, 2);
[[noreturn]] void fail(ErrorKind kind, const char* format, ...) KESTREL_PRINTF_LIKE(2, 3);

}  // namespace kestrel
