#pragma once

#include <cstddef>
#include <string>

#include "Client/ErrorMarshalling.h"
#include "Client/ResponseChecks.h"
#include "CloudStorage/Util/Field.h"

/// What the listings of the drives check in each page.
namespace CloudStorage::Client {

/// The most entries that a page may contain if the request asks for `pageSize` entries.
inline std::size_t mostEntriesOf(const Util::Field<int>& pageSize) {
  return mostEntriesOf(pageSize.isPresent() ? pageSize.value() : 0);
}

/// Whether a page names itself as the page that follows: `next` is the token of the next page,
/// `sent` that of the request. A caller that follows such tokens would never end.
inline bool isRepeated(const std::string& next, const Util::Field<std::string>& sent) {
  return !next.empty() && next == sent.value();
}

/// The error for such a page.
inline Error repeatedPage() {
  return malformedResponse("The answer repeats the token of its request");
}

}  // namespace CloudStorage::Client
