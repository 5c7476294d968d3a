// Lists a folder of Google Drive with the C++ binding, as often as each line of standard input
// says, and prints how many bytes the names and ids have.
//
//   list_cpp PROXY-PORT
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <libvemlo.hpp>
#include <string>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const vemlo::Proxy proxy{"127.0.0.1", static_cast<std::uint16_t>(std::stoi(argv[1])), "", ""};
  const vemlo::Library library;
  vemlo::Drive drive(vemlo::Service::GoogleDrive, proxy);
  drive.setTokens({"access", "refresh"});
  for (int times = 0; std::cin >> times;) {
    std::size_t size = 0;
    while (times-- > 0) {
      for (const auto folder : drive.folders("parent")) {
        size += folder.name().size() + folder.id().size();
      }
    }
    std::cout << size << std::endl;
  }
}
