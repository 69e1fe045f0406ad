#pragma once

#include <cstdio>
#include <new>
#include <stdexcept>
#include <type_traits>

#include "kestrel/error.h"
#include "mex/host/host_services.h"
#include "mex/host/mex_api.h"

namespace kestrel::host {

/// Longest text of an error, terminator included; longer ones are cut.
inline constexpr std::size_t error_text_size = 4096;

/// Runs the body of a plug-in's outermost function and turns its failure into the host's error
/// call.
///
/// The error call is the last statement, when every scope of the body has ended, the exception is
/// gone and only a local buffer is left: MATLAB's may leave without unwinding, and whatever was
/// still alive would be lost. For the same reason the callable itself must own nothing; a lambda
/// that captures by reference is right.
///
/// Exactly three types are caught. Octave's own error call unwinds as an exception derived from
/// std::runtime_error, which must reach the interpreter: never catch `...` or std::exception here.
/// Any other exception that leaves the body would end the interpreter, so the body must not let one
/// out.
///
/// `identifier`: of the error. The hosts show the same text with it as without, Octave the entry's
/// name in front; but programs that pass a caught error on by its identifier lose one without.
template <class Callable>
void run_entry(const Callable& callable, const char* identifier) {
  static_assert(std::is_trivially_destructible_v<Callable>, "the error call may not unwind");
  char text[error_text_size];
  try {
    install_services();
    callable();
    return;
  } catch (const Error& error) {
    // An empty text would not count as an error.
    const char* what = error.what();
    std::snprintf(text, sizeof text, "%s", *what != '\0' ? what : "Unknown error.");
  } catch (const std::bad_alloc&) {
    std::snprintf(text, sizeof text, "Out of memory.");
  } catch (const std::length_error&) {
    std::snprintf(text, sizeof text, "Out of memory: a list would exceed its largest size.");
  }
  mexErrMsgIdAndTxt(identifier, "%s", text);
}

}  // namespace kestrel::host
