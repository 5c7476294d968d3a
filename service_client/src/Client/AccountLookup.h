#pragma once

#include <string>

#include "CloudStorage/Client/Account.h"
#include "CloudStorage/Client/Service.h"
#include "CloudStorage/Client/WSClient.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client {

bool isDrive(Service service);

/// The owner of the account that the tokens belong to. `service` must be a drive. An access token
/// that is empty or not accepted is renewed once if there is a refresh token; nothing else is
/// retried. Does not throw.
Util::Outcome<Account, Error> lookUpAccount(Service service, const std::string& accessToken,
                                            const std::string& refreshToken,
                                            const Config::ProxySetting& proxy,
                                            const ClientEnvironment& environment = {});

}  // namespace CloudStorage::Client
