#include "kestrel/services.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "services/format_text.h"
#include "services/off_host_thread.h"

namespace kestrel {

void fail(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = services::format_text(format, arguments);
  va_end(arguments);
  throw Error(text);
}

void fail(ErrorKind kind, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = services::format_text(format, arguments);
  va_end(arguments);
  throw Error(text, kind);
}

namespace services {

constexpr Services kStandardServices = {
    .print =
        [](const char* text) {
          std::fputs(text, stdout);
          std::fflush(stdout);
        },
    .warn = [](const char* text) { std::fprintf(stderr, "Warning: %s\n", text); },
    .interrupted = [] { return false; },
    .allocate = [](std::size_t bytes) { return std::calloc(1, bytes); },
    .release = [](void* block) { std::free(block); },
};

namespace {

/// Of this thread.
thread_local Services installed = kStandardServices;

/// Where the texts of this thread go; null for its services.
thread_local Messages* off_host_messages = nullptr;

/// Stands in front of every block and says how it is released, so that a block finds its way back
/// on any thread. Sixteen bytes, which keeps the alignment of the allocators.
struct alignas(16) BlockHeader {
  void (*release)(void* block);
};
static_assert(sizeof(BlockHeader) == 16);

}  // namespace

void install(const Services& services) { installed = services; }

void print(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = format_text(format, arguments);
  va_end(arguments);
  if (off_host_messages != nullptr) {
    off_host_messages->add_print(text);
  } else {
    installed.print(text.c_str());
  }
}

void warn(const char* text) {
  if (off_host_messages != nullptr) {
    off_host_messages->add_warning(text);
  } else {
    installed.warn(text);
  }
}

bool interrupted() { return off_host_messages == nullptr && installed.interrupted(); }

void* allocate_zeroed(std::size_t count, std::size_t size) {
  // The largest object that pointer differences can span.
  constexpr std::size_t most =
      static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) - sizeof(BlockHeader);
  const Services& source = off_host_messages == nullptr ? installed : kStandardServices;
  void* start = nullptr;
  if (size == 0 || count <= most / size) {
    start = source.allocate(sizeof(BlockHeader) + count * size);
  }
  if (start == nullptr) {
    fail(ErrorKind::out_of_memory, "Out of memory: %zu x %zu bytes cannot be allocated.", count,
         size);
  }
  auto* header = static_cast<BlockHeader*>(start);
  header->release = source.release;
  return header + 1;
}

void release(void* block) noexcept {
  if (block == nullptr) return;
  BlockHeader* header = static_cast<BlockHeader*>(block) - 1;
  header->release(header);
}

void Messages::absorb(Messages& other) {
  for (Message& message : other._messages) {
    if (std::find(_messages.begin(), _messages.end(), message) == _messages.end()) {
      _messages.push_back(std::move(message));
    }
  }
  other._messages.clear();
}

std::vector<std::string> Messages::take_warnings() {
  std::vector<std::string> warnings;
  std::vector<Message> rest;
  for (Message& message : _messages) {
    if (message.is_warning) {
      warnings.push_back(std::move(message.text));
    } else {
      rest.push_back(std::move(message));
    }
  }
  _messages = std::move(rest);
  return warnings;
}

void Messages::replay() {
  const std::vector<Message> messages = std::exchange(_messages, {});
  for (const Message& message : messages) {
    if (message.is_warning) {
      warn(message.text.c_str());
    } else {
      print("%s", message.text.c_str());
    }
  }
}

OffHostThread::OffHostThread(Messages& messages)
    : _outer(std::exchange(off_host_messages, &messages)) {}

OffHostThread::~OffHostThread() { off_host_messages = _outer; }

}  // namespace services
}  // namespace kestrel
