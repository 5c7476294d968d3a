#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "libvemlo_service_client.h"

namespace TestSupport {

/// A new folder, removed at the end.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "vemlo-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
    path_ = name;
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string file(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

/// A recording of this process. Not started by itself; stopped at the end if it is running.
class RecordingFile {
 public:
  ~RecordingFile() { vemlo_client_stop_recording(); }
  RecordingFile() = default;
  RecordingFile(const RecordingFile&) = delete;
  RecordingFile& operator=(const RecordingFile&) = delete;

  const std::string& path() const { return path_; }

  std::string text() const {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  /// The content. Throws if it is not JSON.
  nlohmann::json json() const { return nlohmann::json::parse(text()); }
  nlohmann::json entries() const { return json().at("log").at("entries"); }

 private:
  const TemporaryFolder folder_;
  const std::string path_ = folder_.file("recording.har");
};

}  // namespace TestSupport
