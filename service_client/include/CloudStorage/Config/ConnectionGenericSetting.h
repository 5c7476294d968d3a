#pragma once

#include "CloudStorage/Export.h"

namespace CloudStorage::Config {

/// Constants with which connection settings are enciphered, shared with every program that reads
/// or writes such settings: changing one makes stored settings unreadable.
struct CLOUDSTORAGE_API ConnectionGenericSetting {
  /// Cipher name as OpenSSL knows it.
  static const char CIPHER[];
  /// Pass phrase from which the key is derived. The name is historical; it is no salt.
  static const char SALT[];
};

}  // namespace CloudStorage::Config
