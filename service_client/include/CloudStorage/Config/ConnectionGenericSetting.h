#pragma once

namespace CloudStorage::Config {

/// Constants with which connection settings are enciphered, shared with every program that reads
/// or writes such settings: changing one makes stored settings unreadable.
struct ConnectionGenericSetting {
  /// Cipher name as OpenSSL knows it.
  static constexpr char CIPHER[] = "aes-256-cbc";
  /// Pass phrase from which the key is derived. The name is historical; it is no salt.
  static constexpr char SALT[] = "vemlo.connection.generic.setting";
};

}  // namespace CloudStorage::Config
