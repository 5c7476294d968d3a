#pragma once

#include "CloudStorage/Export.h"

namespace CloudStorage::Config {

/// The constants for the encryption of connection settings. Every program that reads or writes such
/// settings uses the same values: changing one makes stored settings unreadable.
struct CLOUDSTORAGE_API ConnectionGenericSetting {
  /// The cipher's name in OpenSSL.
  static const char CIPHER[];
  /// The passphrase from which the key is derived. The name is historical: it is not a salt.
  static const char SALT[];
};

}  // namespace CloudStorage::Config
