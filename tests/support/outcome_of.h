#pragma once

#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Util/Outcome.h"

namespace TestSupport {

/// What an operation of a client returns.
template <typename Result>
using OutcomeOf = CloudStorage::Util::Outcome<Result, CloudStorage::Client::Error>;

}  // namespace TestSupport
