#pragma once

/// The boundary to the MEX host. No physics here, and no `mx*` or `mex*` name: whoever must touch
/// host values (structures, arrays) includes "host/mex_api.h" as well.

#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "mex/host/error.h"

namespace kestrel::host {

#if defined(__GNUC__)
#define KESTREL_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define KESTREL_PRINTF_LIKE(text, first)
#endif

/// Throws kestrel::Error with the formatted text.
[[noreturn]] void fail(const char* format, ...) KESTREL_PRINTF_LIKE(1, 2);

/// Prints formatted text to the host's console at once.
void print(const char* format, ...) KESTREL_PRINTF_LIKE(1, 2);

/// Issues a warning through the host; the call goes on.
void warn(const char* text);

/// Whether the user wants the running call to end (Ctrl-C). Long work asks now and then, on the
/// host's thread. A host may also end the call from here, by an exception of its own that unwinds
/// every scope: be ready for it.
bool interrupted();

/// `count` zeroed blocks of `size` bytes from the host's allocator; throws kestrel::Error when the
/// memory cannot be had. Never null, for no bytes either, and aligned to 16 bytes. Release with
/// `release` and nothing else: a header in front of the block names its allocator.
void* allocate_zeroed(std::size_t count, std::size_t size);
void release(void* block) noexcept;

/// A zero-filled array from the host's allocator, released with its scope. The host reclaims such
/// memory even when it ends a call without unwinding, so it is the right home for everything that
/// an element or an input object holds during a call.
template <class T>
class Array {
  static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= 16);

 public:
  Array() = default;
  explicit Array(std::size_t count)
      : _data(static_cast<T*>(allocate_zeroed(count, sizeof(T)))), _size(count) {}
  Array(Array&& other) noexcept
      : _data(std::exchange(other._data, nullptr)), _size(std::exchange(other._size, 0)) {}
  Array& operator=(Array&& other) noexcept {
    std::swap(_data, other._data);
    std::swap(_size, other._size);
    return *this;
  }
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;
  ~Array() { release(_data); }

  T* data() { return _data; }
  const T* data() const { return _data; }
  std::size_t size() const { return _size; }
  bool empty() const { return _size == 0; }
  T* begin() { return _data; }
  T* end() { return _data + _size; }
  const T* begin() const { return _data; }
  const T* end() const { return _data + _size; }
  T& operator[](std::size_t i) { return _data[i]; }
  const T& operator[](std::size_t i) const { return _data[i]; }

 private:
  T* _data = nullptr;
  std::size_t _size = 0;
};

/// Texts that were printed or warned about while a thread was detached, in their order.
class Messages {
 public:
  void add_print(std::string text) { _messages.push_back({std::move(text), false}); }
  void add_warning(std::string text) { _messages.push_back({std::move(text), true}); }
  bool empty() const { return _messages.empty(); }

  /// Takes those of another's texts that are not here yet, and leaves it empty.
  void absorb(Messages& other);

  /// Prints and warns on the calling thread, and forgets. A text is forgotten before it is shown,
  /// because a host that treats warnings as errors does not come back.
  void replay();

 private:
  struct Message {
    std::string text;
    bool is_warning;
    bool operator==(const Message&) const = default;
  };
  std::vector<Message> _messages;
};

/// While one is alive, its thread does without the host, which knows one thread only: `print` and
/// `warn` add to `messages`, and `allocate_zeroed` takes memory from the standard allocator. The
/// thread that the host called replays the messages after the other has finished. Scopes nest.
///
/// Blocks go back to where they came from, wherever and whenever they are released; so a detached
/// thread may hand its arrays to the host's thread, but must not release the host's.
///
///     host::Messages messages;            // on the host's thread
///     std::thread worker([&] {
///       host::Detached scope(messages);
///       ...
///     });
///     worker.join();
///     messages.replay();
class Detached {
 public:
  explicit Detached(Messages& messages);
  ~Detached();
  Detached(const Detached&) = delete;
  Detached& operator=(const Detached&) = delete;

 private:
  Messages* _outer;
};

}  // namespace kestrel::host
