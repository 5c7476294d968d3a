#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

#include "bare_s3_client.h"

// No library for command-line options, so that the program loads no more than it needs.
int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0) {
    std::printf(
        "Usage: bare_s3_ls PORT [TRUSTED]\n\n"
        "Prints the folders in a bucket of the page server on PORT of this machine with nothing "
        "but libcurl, "
        "signing and pugixml; with a file of TRUSTED certificates over TLS.\n");
    return argc < 2 ? 2 : 0;
  }
  try {
    using benchmarks::Route;
    const bool isTls = argc > 2;
    const Route route{isTls ? Route::Kind::Tls : Route::Kind::Plain,
                      static_cast<std::uint16_t>(std::stoi(argv[1])), isTls ? argv[2] : ""};
    benchmarks::BareS3Client client(route, benchmarks::kS3Account, benchmarks::kS3FolderTarget);
    int count = 0;
    directory* folders = client.listPrefixes(count);
    std::puts("NAME");
    for (int i = 0; i < count; ++i) {
      std::puts(folders[i].name);
      std::free(folders[i].name);
    }
    std::free(folders);
    return 0;
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "bare_s3_ls: %s\n", exception.what());
    return 1;
  }
}
