// Runs a fuzz target over seed files in builds without a fuzzing engine.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file) return false;
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  std::error_code error;
  const std::filesystem::directory_iterator seeds(argv[1], error);
  int count = 0;
  for (const auto& entry : seeds) {
    if (!replay(entry.path())) {
      std::fprintf(stderr, "cannot read %s\n", entry.path().c_str());
      return 1;
    }
    ++count;
  }
  std::printf("%d seeds\n", count);
  return count > 0 ? 0 : 1;  // a run without seeds tests nothing
}
