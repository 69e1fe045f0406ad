#pragma once

#include <new>
#include <stdexcept>

#include "methods/kzk/driver.h"

namespace kestrel::kzk {

/// An element whose amplitude is no larger than this radiates nothing.
inline constexpr double gate = 1e-10;

/// Runs `body`, turning everything it can throw into the report.
template <class Body>
void report_into(Report& report, const Body& body) {
  try {
    body();
  } catch (const Refusal& refusal) {
    report.code = refusal.code;
    report.reason = refusal.reason;
  } catch (const std::bad_alloc&) {
    report.code = Code::out_of_memory;
    report.reason = "Out of memory.";
  } catch (const std::length_error&) {
    report.code = Code::out_of_memory;
    report.reason = "Out of memory.";
  }
}

}  // namespace kestrel::kzk
