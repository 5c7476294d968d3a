#include "Util/BodyBuffer.h"

#include <utility>

#include "Util/ThreadOwn.h"

namespace CloudStorage::Util {
namespace {

struct Spare {
  std::string buffer;
};

}  // namespace

std::string takeBodyBuffer(std::size_t size) {
  std::string buffer;
  if (auto* const spare = threadOwn<Spare>()) std::swap(buffer, spare->buffer);
  // Where there is something, more than is asked for would be added to it.
  if (buffer.capacity() < size) std::string().swap(buffer);
  buffer.reserve(size);
  return buffer;
}

void giveBackBodyBuffer(std::string buffer) {
  if (buffer.capacity() > kLargestKeptBody) return;
  auto* const spare = threadOwn<Spare>();
  if (spare == nullptr || spare->buffer.capacity() >= buffer.capacity()) return;
  buffer.clear();
  spare->buffer = std::move(buffer);
}

}  // namespace CloudStorage::Util
