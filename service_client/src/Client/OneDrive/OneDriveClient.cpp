#include "CloudStorage/Client/OneDrive/OneDriveClient.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Client/DriveCall.h"
#include "Client/ErrorMarshalling.h"
#include "Client/OneDrive/OneDriveAnswers.h"

namespace CloudStorage::Client::OneDrive {
namespace {

using PageParser = ServiceCall::Parser<Model::ListChildrenResult>;

constexpr char kService[] = "https://graph.microsoft.com/v1.0";

/// A filter that can also be applied to the items of an answer.
struct KnownFilter {
  std::string_view text;
  PageParser parse;
};

constexpr KnownFilter kKnownFilters[] = {
    {"folder ne null", parseFolders},
    {"folder ne null or remoteItem ne null", parseFoldersAndRemoteItems},
};

// Filters are not promised for listings of children: some drives refuse them, and some let files
// through in silence.
PageParser parserFor(const Model::ListChildrenRequest& request) {
  if (!request.filter.isPresent() || !request.filtersAnswers) return parseChildren;
  const auto* known = std::find_if(
      std::begin(kKnownFilters), std::end(kKnownFilters),
      [&request](const KnownFilter& filter) { return filter.text == request.filter.value(); });
  return known == std::end(kKnownFilters) ? parseChildren : known->parse;
}

bool isRefusedFilter(const Error& error) {
  return (error.httpResponseCode == 400 || error.httpResponseCode == 501) &&
         (error.exceptionName == "notSupported" || error.exceptionName == "invalidRequest" ||
          error.exceptionName == "BadRequest");
}

/// Does without the filter that the service refuses.
class UnfilteredListing : public BearerConduct {
 public:
  UnfilteredListing(std::shared_ptr<Auth::OAuth2Credential> credential, Http::URI children,
                    Model::ListChildrenRequest model)
      : BearerConduct(std::move(credential)),
        children_(std::move(children)),
        model_(std::move(model)) {}

  bool correct(const Http::Response& /*response*/, const Error& error,
               Http::Request& request) override {
    if (!model_.filter.isPresent() || !isRefusedFilter(error)) return false;
    model_.filter = Util::Field<std::string>();
    request.uri = children_;
    model_.addQueryStringParameters(request.uri);
    return true;
  }

 private:
  Http::URI children_;
  Model::ListChildrenRequest model_;
};

Error relativeId() {
  return localError("InvalidRequest", "The item id or drive id is empty or a relative path");
}

}  // namespace

struct OneDriveClient::Implementation {
  // The user's own drive, or another.
  Util::Outcome<Http::URI, Error> drive(const Util::Field<std::string>& driveId) const {
    Http::URI uri = service;
    if (!driveId.isPresent()) {
      uri.addPath("me/drive");
      return uri;
    }
    if (!isPathSegment(driveId.value())) return relativeId();
    uri.addPathSegment("drives");
    uri.addPathSegment(driveId.value());
    return uri;
  }

  Util::Outcome<Http::URI, Error> item(const Util::Field<std::string>& driveId,
                                       const Util::Field<std::string>& itemId) const {
    auto uri = drive(driveId);
    if (!uri.isSuccess()) return uri;
    if (!isPathSegment(itemId.value())) return relativeId();
    Http::URI located = uri.getResult();
    located.addPathSegment("items");
    located.addPathSegment(itemId.value());
    return located;
  }

  Util::Outcome<Http::URI, Error> children(const Util::Field<std::string>& driveId,
                                           const Util::Field<std::string>& itemId) const {
    auto uri = item(driveId, itemId);
    if (!uri.isSuccess()) return uri;
    Http::URI located = uri.getResult();
    located.addPathSegment("children");
    return located;
  }

  // The access token goes along, so it must be the service's own.
  Util::Outcome<Http::URI, Error> page(const std::string& address) const {
    const auto uri = Http::URI::parse(address);
    if (uri && uri->scheme() == service.scheme() && uri->authority() == service.authority() &&
        uri->path().compare(0, service.path().size() + 1, service.path() + '/') == 0) {
      return *uri;
    }
    return localError("InvalidRequest", "The page token leads away from the service");
  }

  DriveCall call;
  Http::URI service;
};

OneDriveClient::OneDriveClient(Auth::OAuth2ClientSpec clientSpec,
                               std::shared_ptr<Auth::OAuth2Credential> credential,
                               std::shared_ptr<RetryStrategy> retryStrategy,
                               std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                               std::shared_ptr<Util::RateLimiter> readRateLimiter,
                               std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                               Config::ProxySetting proxy)
    : OneDriveClient(
          std::move(clientSpec),
          {std::move(credential), std::move(retryStrategy), std::move(errorMarshaller),
           std::move(readRateLimiter), std::move(writeRateLimiter), nullptr, std::move(proxy)},
          {}) {}

OneDriveClient::OneDriveClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                               ClientEnvironment environment)
    : OAuth2Client(std::move(clientSpec), std::move(parts), std::move(environment)),
      implementation_(std::make_unique<Implementation>(
          Implementation{{this->parts(), this->environment()}, *Http::URI::parse(kService)})) {}

OneDriveClient::~OneDriveClient() = default;

Util::Outcome<Model::DriveItem, Error> OneDriveClient::getDriveItem(
    const Model::GetDriveItemRequest& request) const {
  const auto uri = implementation_->item(request.driveId, request.itemId);
  if (!uri.isSuccess()) return uri.getError();
  return implementation_->call.send<Model::DriveItem>(Http::Method::Get, uri.getResult(), request,
                                                      parseItem);
}

Util::Outcome<Model::DriveMetadata, Error> OneDriveClient::getDriveMetadata(
    const Model::GetDriveMetadataRequest& request) const {
  const auto uri = implementation_->drive(request.driveId);
  if (!uri.isSuccess()) return uri.getError();
  return implementation_->call.send<Model::DriveMetadata>(Http::Method::Get, uri.getResult(),
                                                          request, parseDrive);
}

Util::Outcome<Model::ListChildrenResult, Error> OneDriveClient::listChildren(
    const Model::ListChildrenRequest& request) const {
  const auto uri = request.namesItsPage()
                       ? implementation_->page(request.pageToken.value())
                       : implementation_->children(request.driveId, request.itemId);
  if (!uri.isSuccess()) return uri.getError();

  const PageParser parse = parserFor(request);
  const DriveCall& call = implementation_->call;
  if (parse == parseChildren || request.namesItsPage()) {
    return call.send<Model::ListChildrenResult>(Http::Method::Get, uri.getResult(), request, parse);
  }
  UnfilteredListing conduct(call.credential(), uri.getResult(), request);
  return call.call().send<Model::ListChildrenResult>(Http::Method::Get, uri.getResult(), request,
                                                     conduct, parse);
}

Util::Outcome<Model::DriveItem, Error> OneDriveClient::createFolder(
    const Model::CreateFolderRequest& request) const {
  const auto uri = implementation_->children(request.driveId, request.parentItemId);
  if (!uri.isSuccess()) return uri.getError();
  return implementation_->call.send<Model::DriveItem>(Http::Method::Post, uri.getResult(), request,
                                                      parseItem);
}

std::vector<Http::URI::QueryParameter> OneDriveClient::authorizationParameters(
    const Auth::OAuth2RequestOptions& /*options*/) const {
  return {{"response_mode", "query"}};
}

}  // namespace CloudStorage::Client::OneDrive
