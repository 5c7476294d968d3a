#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace CloudStorage::Util {

/// A list that grows without moving what it holds, and with hardly more memory than that takes.
template <typename T>
class ChunkedList {
 public:
  class ConstIterator {
   public:
    ConstIterator(const ChunkedList& list, std::size_t index) : list_(&list), index_(index) {}

    const T& operator*() const { return (*list_)[index_]; }
    ConstIterator& operator++() {
      ++index_;
      return *this;
    }
    bool operator!=(const ConstIterator& other) const { return index_ != other.index_; }

   private:
    const ChunkedList* list_;
    std::size_t index_;
  };

  ChunkedList() = default;
  template <typename Iterator>
  ChunkedList(Iterator first, Iterator last) {
    for (; first != last; ++first) push_back(*first);
  }

  T& emplace_back() {
    if (chunks_.empty() || chunks_.back().size() == kChunkSize) {
      chunks_.emplace_back().reserve(kChunkSize);
    }
    return chunks_.back().emplace_back();
  }
  void push_back(T element) { emplace_back() = std::move(element); }

  std::size_t size() const {
    return chunks_.empty() ? 0 : (chunks_.size() - 1) * kChunkSize + chunks_.back().size();
  }
  bool empty() const { return chunks_.empty(); }
  const T& operator[](std::size_t index) const {
    return chunks_[index / kChunkSize][index % kChunkSize];
  }
  const T& front() const { return (*this)[0]; }

  ConstIterator begin() const { return {*this, 0}; }
  ConstIterator end() const { return {*this, size()}; }

 private:
  static constexpr std::size_t kChunkSize = 128;

  std::vector<std::vector<T>> chunks_;
};

}  // namespace CloudStorage::Util
