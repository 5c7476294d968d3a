#pragma once

#include <cstddef>
#include <string>

/// The memory of received bodies. It goes from one answer of a thread to the next: a new buffer for
/// each would cost more than reading it, because so large a piece is given back to the kernel as
/// soon as it is released.
namespace CloudStorage::Util {

/// A thread keeps no larger one.
constexpr std::size_t kLargestKeptBody = std::size_t{1024} * 1024;

/// An empty text with room for `size` bytes.
std::string takeBodyBuffer(std::size_t size);

/// Keeps the memory of `buffer`, whose content is of no further use, for the next body of this
/// thread, if it is the larger of this and what the thread keeps already.
void giveBackBodyBuffer(std::string buffer);

}  // namespace CloudStorage::Util
