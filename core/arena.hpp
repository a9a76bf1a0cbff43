#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace zol {

/// Memory that is taken in pieces and given back as a whole, by `release`.
class Arena {
 public:
  /// @return `size` bytes, zeroed and aligned for anything; null when there is no memory
  void *allocate(size_t size) {
    size = (size + alignment - 1) / alignment * alignment;
    if (last_ == nullptr || last_->size - last_->used < size) {
      const size_t room = size < smallest ? smallest : size;
      auto *chunk = static_cast<Chunk *>(calloc(1, sizeof(Chunk) + room));
      if (chunk == nullptr) return nullptr;
      *chunk = {last_, room, 0};
      last_ = chunk;
    }
    void *piece = reinterpret_cast<char *>(last_ + 1) + last_->used;
    last_->used += size;
    return piece;
  }

  /// A copy of `text` with a terminator; null when there is no memory.
  char *copy(std::string_view text) {
    auto *copied = static_cast<char *>(allocate(text.size() + 1));
    if (copied != nullptr && !text.empty()) memcpy(copied, text.data(), text.size());
    return copied;
  }

  /// Everything that was taken is invalid from now on.
  void release() {
    for (Chunk *chunk = last_; chunk != nullptr;) {
      Chunk *before = chunk->before;
      free(chunk);
      chunk = before;
    }
    last_ = nullptr;
  }

 private:
  static constexpr size_t alignment = alignof(std::max_align_t);
  static constexpr size_t smallest = 1024;

  struct alignas(std::max_align_t) Chunk {
    Chunk *before;
    size_t size;
    size_t used;
  };
  Chunk *last_ = nullptr;
};

}  // namespace zol
