#include "mex/host/host.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <limits>

#include "mex/host/format_text.h"
#include "mex/host/mex_api.h"

namespace kestrel::host {
namespace {

/// Where the texts of this thread go; null for the host itself.
thread_local Messages* detached_messages = nullptr;

/// Stands in front of every block and names the allocator that it came from, so that a block finds
/// its way back when the detached scope in which it was made has ended. Sixteen bytes, which keeps
/// the alignment of the allocators.
struct alignas(16) BlockHeader {
  bool from_host;
};
static_assert(sizeof(BlockHeader) == 16);

}  // namespace

void fail(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = format_text(format, arguments);
  va_end(arguments);
  throw Error(text);
}

void print(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = format_text(format, arguments);
  va_end(arguments);
  if (detached_messages != nullptr) {
    detached_messages->add_print(text);
  } else {
    mexPrintf("%s", text.c_str());
  }
}

void warn(const char* text) {
  if (detached_messages != nullptr) {
    detached_messages->add_warning(text);
  } else {
    mexWarnMsgTxt(text);
  }
}

bool interrupted() {
  // Running a statement is what makes the interpreters look at their interrupt flag. (In Octave 7 a
  // mere function call, as by mexCallMATLAB, is not enough: tried.)
  return mexEvalString("pause(0);") != 0;
}

void* allocate_zeroed(std::size_t count, std::size_t size) {
  // The largest object that pointer differences can span.
  constexpr std::size_t most =
      static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max()) - sizeof(BlockHeader);
  const bool from_host = detached_messages == nullptr;
  void* start = nullptr;
  if (size == 0 || count <= most / size) {
    const std::size_t bytes = sizeof(BlockHeader) + count * size;
    start = from_host ? mxCalloc(1, bytes) : std::calloc(1, bytes);
  }
  if (start == nullptr) fail("Out of memory: %zu x %zu bytes cannot be allocated.", count, size);
  auto* header = static_cast<BlockHeader*>(start);
  header->from_host = from_host;
  return header + 1;
}

void release(void* block) noexcept {
  if (block == nullptr) return;
  BlockHeader* header = static_cast<BlockHeader*>(block) - 1;
  if (header->from_host) {
    mxFree(header);
  } else {
    std::free(header);
  }
}

void Messages::absorb(Messages& other) {
  for (Message& message : other._messages) {
    if (std::find(_messages.begin(), _messages.end(), message) == _messages.end()) {
      _messages.push_back(std::move(message));
    }
  }
  other._messages.clear();
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

Detached::Detached(Messages& messages) : _outer(std::exchange(detached_messages, &messages)) {}

Detached::~Detached() { detached_messages = _outer; }

}  // namespace kestrel::host
