#include "Util/BodyBuffer.h"

#include <utility>

#include "Util/ThreadOwn.h"

namespace CloudStorage::Util {
namespace {

constexpr std::size_t kLargestKept = std::size_t{512} * 1024;

struct Spare {
  std::string buffer;
};

}  // namespace

std::string takeBodyBuffer(std::size_t size) {
  std::string buffer;
  if (auto* const spare = threadOwn<Spare>()) std::swap(buffer, spare->buffer);
  buffer.reserve(size);
  return buffer;
}

void giveBackBodyBuffer(std::string buffer) {
  if (buffer.capacity() > kLargestKept) return;
  auto* const spare = threadOwn<Spare>();
  if (spare == nullptr || spare->buffer.capacity() >= buffer.capacity()) return;
  buffer.clear();
  spare->buffer = std::move(buffer);
}

}  // namespace CloudStorage::Util
