#include "drive_command.h"

namespace tool {

CLI::App& addDriveCommand(CLI::App& app, const std::string& name, const std::string& description) {
  return *app.add_subcommand(name, description)
              ->group("Google Drive, OneDrive, Dropbox and Amazon Drive");
}

}  // namespace tool
