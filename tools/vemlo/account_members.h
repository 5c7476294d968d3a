#pragma once

namespace tool {

/// The names in the account file of what is stored for an account.
namespace member {

constexpr const char* kAccessToken = "accessToken";
constexpr const char* kRefreshToken = "refreshToken";

constexpr const char* kEndpoint = "endpoint";
constexpr const char* kSigningRegion = "signingRegion";
constexpr const char* kAccessKey = "accessKey";
constexpr const char* kSecretKey = "secretKey";

constexpr const char* kAccount = "account";
constexpr const char* kCloud = "cloud";
constexpr const char* kKey = "key";

}  // namespace member
}  // namespace tool
