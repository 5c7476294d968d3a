/// @file
/// libvemlo for C++17: connect cloud storage accounts and pick the folder that transfers will use.
///
/// What libvemlo.h and libvemlo_service_client.h offer, with objects that release what they hold,
/// values in place of out-parameters, and exceptions in place of result codes. There is nothing to
/// link beside the library itself.
///
///     vemlo::Library library;
///     vemlo::Drive drive(vemlo::Service::GoogleDrive);
///     drive.setTokens(storedTokens);
///     for (const auto folder : drive.folders(drive.root().id)) std::cout << folder.name() << '\n';
///
/// Conventions. A declaration that departs from them states so in its comment.
///
///  1. Order of use: one `Library`, then sessions (`S3`, `AzureBlobs`, `Drive`), which must be
///     destroyed before it.
///  2. A function that fails throws `Failure`, and nothing else but std::bad_alloc. What it holds
///     until then is released.
///  3. Texts are UTF-8. Arguments are only read during the call. A text that contains a NUL is a
///     failure (`Kind::HostFault`), because the C interface would cut it.
///  4. Functions that take a `Call` send requests, and block until they are completed; paragraph 8
///     of libvemlo.h says how long that can take without a deadline. Others do not block.
///  5. Calls on one session may run on several threads at once, except `Drive::link` and
///     `Drive::setTokens`. A session must not be moved or destroyed while a call on it runs.
///
/// The C headers are included, so their names (`session`, `directory`, `verbose` and others) are
/// taken in the global namespace.
#pragma once

#if __cplusplus < 201703L
#error "libvemlo.hpp takes C++17: compile with -std=c++17 or a newer standard."
#else
#include "libvemlo/account.hpp"
#include "libvemlo/call.hpp"
#include "libvemlo/drive.hpp"
#include "libvemlo/failure.hpp"
#include "libvemlo/library.hpp"
#include "libvemlo/listing.hpp"
#include "libvemlo/object_stores.hpp"
#include "libvemlo/recording.hpp"
#include "libvemlo/texts.hpp"
#endif
