// Links a Google Drive account, lists its folders and makes one.
//
//   first_folder PROXY-HOST PROXY-PORT
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <libvemlo.hpp>
#include <string>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const vemlo::Proxy proxy{argv[1], static_cast<std::uint16_t>(std::atoi(argv[2])), "", ""};
  try {
    const vemlo::Library library;
    vemlo::Drive drive(vemlo::Service::GoogleDrive, proxy);
    std::cout << drive.authorizeUrl() << std::endl;
    std::string code;
    std::getline(std::cin, code);
    drive.link(code);
    const vemlo::Folder root = drive.root();
    for (const auto folder : drive.folders(root.id)) {
      std::cout << folder.name() << " (" << folder.id() << ")\n";
    }
    const vemlo::Folder made = drive.createFolder(root.id, "Transfers");
    std::cout << "Made " << made.name << " (" << made.id << ")\n";
  } catch (const vemlo::Failure& failure) {
    std::cout << failure.what() << '\n';
    return 1;
  }
}
