#include "compression.h"

#include <zlib.h>

#include <array>
#include <stdexcept>

namespace Faults {
namespace {

class Compressor {
 public:
  Compressor() {
    constexpr int kGzipWithLargestWindow = 15 + 16;
    constexpr int kMemoryLevel = 8;
    if (deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWithLargestWindow,
                     kMemoryLevel, Z_DEFAULT_STRATEGY) != Z_OK) {
      throw std::runtime_error("zlib");
    }
  }
  ~Compressor() { deflateEnd(&stream_); }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;

  void add(std::string_view bytes, int flush = Z_NO_FLUSH) {
    std::array<unsigned char, 16384> buffer{};
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream_.avail_in = static_cast<uInt>(bytes.size());
    do {
      stream_.next_out = buffer.data();
      stream_.avail_out = buffer.size();
      deflate(&stream_, flush);
      compressed_.append(buffer.begin(), buffer.end() - stream_.avail_out);
    } while (stream_.avail_out == 0);
  }

  std::string finish() {
    add({}, Z_FINISH);
    return std::move(compressed_);
  }

 private:
  z_stream stream_{};
  std::string compressed_;
};

}  // namespace

std::string gzip(std::string_view before, std::string_view unit, std::size_t times,
                 std::string_view after) {
  Compressor compressor;
  compressor.add(before);
  for (; times > 0; --times) compressor.add(unit);
  compressor.add(after);
  return compressor.finish();
}

}  // namespace Faults
