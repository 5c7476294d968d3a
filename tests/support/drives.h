#pragma once

#include <gtest/gtest.h>

#include <string>

#include "support/amazon_drive_fixture.h"
#include "support/dropbox_fixture.h"
#include "support/google_drive_fixture.h"
#include "support/one_drive_fixture.h"

namespace TestSupport {

/// For the suites over all drives.
using Drives = testing::Types<AmazonDrive, Dropbox, GoogleDrive, OneDrive>;

/// Names a suite after its drive.
struct DriveName {
  template <typename Drive>
  static std::string GetName(int /*index*/) {
    return Drive::kName;
  }
};

}  // namespace TestSupport
