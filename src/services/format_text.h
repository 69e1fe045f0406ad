#pragma once

#include <cstdarg>
#include <cstdio>
#include <string>

namespace kestrel::services {

/// What vprintf would print, of any length; the format itself when it is invalid.
inline std::string format_text(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is the caller's
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string text = format;
  if (length >= 0) {
    text.assign(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, again);
    text.pop_back();
  }
  va_end(again);
  return text;
}

}  // namespace kestrel::services
