#include "Client/S3/S3Answers.h"

#include <algorithm>
#include <utility>

#include "Client/ErrorMarshalling.h"
#include "Http/PercentEncoding.h"
#include "Util/Xml.h"

namespace CloudStorage::Client::S3 {
namespace {

namespace Xml = Util::Xml;

// Some stores answer an error with a success status.
std::optional<Error> embeddedError(const Http::Response& response, pugi::xml_node root) {
  std::string code = Xml::text(Xml::child(root, "Code"));
  if (!Xml::isNamed(root, "Error") || code.empty()) return std::nullopt;
  return s3Error(response, Http::Method::Get,
                 {std::move(code), Xml::text(Xml::child(root, "Message"))});
}

// What is wrong with a page that should have this root; empty if nothing is.
std::optional<Error> checkPage(const Http::Response& response, const Xml::Page& page,
                               const char* expectedRoot) {
  if (!page.status().isSuccess()) return localError("MalformedResponse", page.status().toString());
  if (Xml::isNamed(page.root(), expectedRoot)) return std::nullopt;
  if (auto error = embeddedError(response, page.root())) return error;
  return localError("MalformedResponse", std::string("The answer is no ") + expectedRoot);
}

// With `encoding-type=url` a blank is a plus sign.
std::string_view decodeKey(Xml::Page& page, std::string_view text) {
  std::string encoded(text);
  std::replace(encoded.begin(), encoded.end(), '+', ' ');
  return page.replace(text, Http::uriDecode(encoded));
}

Model::Object parseObject(Xml::Page& page, pugi::xml_node node) {
  return {page.text(Xml::child(node, "Key")), page.text(Xml::child(node, "LastModified")),
          page.text(Xml::child(node, "ETag")), page.text(Xml::child(node, "Size")),
          page.text(Xml::child(node, "StorageClass"))};
}

void readPrefixes(Xml::Page& page, pugi::xml_node group, Model::ListObjectsV2Result& result) {
  for (auto node = group.first_child(); node; node = node.next_sibling()) {
    if (Xml::isNamed(node, "Prefix")) result.commonPrefixes.push_back(page.text(node));
  }
}

std::optional<Error> decodeKeys(Xml::Page& page, Model::ListObjectsV2Result& result) {
  for (auto& object : result.objects) object.key = decodeKey(page, object.key);
  for (auto& prefix : result.commonPrefixes) {
    prefix = decodeKey(page, prefix);
    // To whoever reads it as a C string it would be another folder, such as the top level.
    if (prefix.find('\0') != std::string_view::npos) {
      return localError("MalformedResponse", "A prefix in the answer holds a byte of value 0");
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<Error> parseBucketList(Http::Response& response, Model::ListBucketsResult& result) {
  Xml::Page page(std::move(response.body));
  if (auto error = checkPage(response, page, "ListAllMyBucketsResult")) return error;

  // About what a bucket takes of the page, up to what accounts have by default.
  constexpr std::size_t kBytesOfABucket = 64;
  constexpr std::size_t kUsualBuckets = 10'000;
  result.buckets.reserve(std::min(page.storage()->size() / kBytesOfABucket, kUsualBuckets));
  const auto list = Xml::child(page.root(), "Buckets");
  for (auto node = Xml::child(list, "Bucket"); node; node = Xml::nextSibling(node, "Bucket")) {
    result.buckets.push_back(
        {page.text(Xml::child(node, "Name")), page.text(Xml::child(node, "CreationDate"))});
    if (result.buckets.back().name.empty()) {
      return localError("MalformedResponse", "A bucket in the answer has no name");
    }
  }
  result.page = page.storage();
  return std::nullopt;
}

std::optional<Error> parseObjectList(Http::Response& response, Model::ListObjectsV2Result& result) {
  Xml::Page page(std::move(response.body));
  if (auto error = checkPage(response, page, "ListBucketResult")) return error;

  // Stores that do not know the parameter do not encode, and do not say that they do.
  // Looked for in the same pass: among a thousand siblings a search of its own, in vain, is dear.
  bool isEncoded = false;
  for (auto node = page.root().first_child(); node; node = node.next_sibling()) {
    if (Xml::isNamed(node, "CommonPrefixes")) {
      readPrefixes(page, node, result);
    } else if (Xml::isNamed(node, "Contents")) {
      result.objects.push_back(parseObject(page, node));
    } else if (Xml::isNamed(node, "EncodingType")) {
      isEncoded = page.text(node) == "url";
    }
  }
  if (isEncoded) {
    if (auto error = decodeKeys(page, result)) return error;
  }
  result.page = page.storage();
  return std::nullopt;
}

std::optional<Error> checkStored(Http::Response& response) {
  if (response.body.find_first_not_of(" \t\r\n") == std::string::npos) return std::nullopt;
  pugi::xml_document document;
  const auto parsed = Xml::parse(response.body, document);
  if (!parsed.isSuccess()) return localError("MalformedResponse", parsed.toString());
  const auto root = document.document_element();
  if (Xml::isNamed(root, "html")) return localError("MalformedResponse", "The answer is a page");
  return embeddedError(response, root);
}

std::string errorElement(const Http::Response& response, const char* name) {
  std::string body = response.body;
  pugi::xml_document document;
  if (!Xml::parse(body, document).isSuccess()) return {};
  return Xml::text(Xml::child(document.document_element(), name));
}

}  // namespace CloudStorage::Client::S3
