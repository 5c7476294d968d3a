#pragma once

#include <cstddef>
#include <string>

/// The memory of received bodies. It goes from one answer of a thread to the next: a new buffer for
/// each would cost more than reading it, because so large a piece is given back to the kernel as
/// soon as it is released.
namespace CloudStorage::Util {

/// An empty text with room for `size` bytes.
std::string takeBodyBuffer(std::size_t size);

/// Keeps the memory of `buffer`, whose content is of no further use, for the next body of this
/// thread. No thread keeps a huge one.
void giveBackBodyBuffer(std::string buffer);

}  // namespace CloudStorage::Util
