#pragma once

#include <optional>
#include <string>
#include <utility>

#include "Client/DriveCall.h"
#include "CloudStorage/Client/OneDrive/Model.h"
#include "CloudStorage/Client/OneDrive/RemoteItems.h"

namespace CloudStorage::Client::OneDrive {

/// The policy of a call on a folder that may be in another user's drive while the user's own drive
/// refers to it. If the service does not find the folder in the user's drive, the policy looks for
/// it where the item of that id refers to, and then in the drive that the id names. Each is tried
/// once per call.
class FolderPolicy : public BearerPolicy {
 public:
  /// If `driveId` is present, the folder is requested from that drive only.
  FolderPolicy(const DriveCall& call, RemoteItems& remoteItems,
               const Util::Field<std::string>& driveId, const Util::Field<std::string>& folderId);

  /// The address of the folder's items, as far as it is known.
  Util::Outcome<Http::URI, Error> uri() const;
  bool recover(const Http::Response& response, const Error& error, Http::Request& request) override;

  /// To be called for a successful response: record where the folder is, and where its items are.
  void rememberFolder();
  void remember(const Model::DriveItem& item);

  /// The outcome of the call. If no drive has the folder, the error is that of the first request.
  template <typename Result>
  Util::Outcome<Result, Error> outcomeOf(Util::Outcome<Result, Error> last) {
    if (last.isSuccess() || !isItemRequested_ || !isRefusal(last.getError())) return last;
    return *std::move(firstRefusal_);
  }

 protected:
  /// Adds the parameters of the request to a new address.
  virtual void addParameters(Http::URI& /*uri*/) const {}
  /// Whether `error` was caused by a parameter that addParameters() now leaves out.
  virtual bool omitParameter(const Error& /*error*/) { return false; }

 private:
  /// Whether `error` is the response of a drive that does not have the folder, or to which the user
  /// has no access.
  static bool isRefusal(const Error& error);
  std::optional<ItemLocation> nextLocation();
  std::optional<ItemLocation> requestRemoteItem();

  const DriveCall& call_;
  RemoteItems& remoteItems_;
  const Util::Field<std::string> folderId_;
  ItemLocation location_;
  bool isLocationKnown_;
  bool isItemRequested_ = false;
  bool isDriveTried_ = false;
  std::optional<Error> firstRefusal_;
};

/// The policy of a creation, which must not run twice.
class FolderCreationPolicy final : public FolderPolicy {
 public:
  using FolderPolicy::FolderPolicy;

  bool isSentOnce() const override { return true; }
};

/// The policy of a listing. Leaves out the filter if the service refuses it.
class ListingPolicy : public FolderPolicy {
 public:
  /// `isFilterOptional` states whether responses are filtered by the client as well.
  ListingPolicy(const DriveCall& call, RemoteItems& remoteItems,
                const Model::ListChildrenRequest& request, bool isFilterOptional);

  bool recover(const Http::Response& response, const Error& error, Http::Request& request) override;

 protected:
  void addParameters(Http::URI& uri) const override { model_.addQueryStringParameters(uri); }
  bool omitParameter(const Error& error) override;

 private:
  Model::ListChildrenRequest model_;
  bool isFilterOptional_;
};

}  // namespace CloudStorage::Client::OneDrive
