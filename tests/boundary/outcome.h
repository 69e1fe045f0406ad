#pragma once

#include <optional>
#include <string>

#include "kestrel/error.h"
#include "mex/standalone/standalone_host.h"

namespace kestrel {

/// What a user sees of an operation: the printed lines, and the error's text when there was one.
struct Outcome {
  std::string printed;
  std::optional<std::string> error;
};

template <class Operation>
Outcome outcome_of(const Operation& operation) {
  const standalone::Capture capture;
  std::optional<std::string> error;
  try {
    operation();
  } catch (const Error& failure) {
    error = failure.what();
  }
  return {capture.printed(), error};
}

}  // namespace kestrel
