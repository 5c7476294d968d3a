#include "Client/S3/S3ObjectsReader.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "Http/PercentEncoding.h"
#include "Util/Text.h"

namespace CloudStorage::Client::S3 {

namespace Xml = Util::Xml;

namespace {

// With `encoding-type=url` a plus sign is a space.
std::string_view decodeKey(Xml::Document& document, std::string_view text) {
  std::string encoded(text);
  std::replace(encoded.begin(), encoded.end(), '+', ' ');
  return document.replace(text, Util::toName(Http::uriDecode(encoded)));
}

void decodeKeys(Xml::Document& document, Model::ListObjectsV2Result& result) {
  for (auto& object : result.objects) object.key = decodeKey(document, object.key);
  for (auto& prefix : result.commonPrefixes) prefix = decodeKey(document, prefix);
}

}  // namespace

bool S3ObjectsReader::read(pugi::xml_node node) {
  if (Xml::isNamed(node, "CommonPrefixes")) return readPrefixes(node);
  if (Xml::isNamed(node, "Contents")) return readObject(node);
  if (Xml::isNamed(node, "EncodingType")) {
    isEncoded_ = document_.text(node) == "url";
  } else if (Xml::isNamed(node, "IsTruncated")) {
    result_.isTruncated = Util::lowerCase(document_.text(node)) == "true";
  } else if (Xml::isNamed(node, "NextContinuationToken")) {
    result_.nextContinuationToken = document_.text(node);
  }
  return true;
}

Model::ListObjectsV2Result S3ObjectsReader::result() && {
  // Stores that do not support the parameter neither encode keys nor send the element.
  if (isEncoded_) decodeKeys(document_, result_);
  result_.storage = document_.storage();
  return std::move(result_);
}

bool S3ObjectsReader::readObject(pugi::xml_node node) {
  if (++result_.received > most_) return false;
  if (reads_ == Reads::CommonPrefixes) return true;
  const auto text = [&](const char* name) { return document_.text(Xml::child(node, name)); };
  result_.objects.push_back(
      {text("Key"), text("LastModified"), text("ETag"), text("Size"), text("StorageClass")});
  return true;
}

bool S3ObjectsReader::readPrefixes(pugi::xml_node group) {
  std::size_t& received = result_.received;
  const std::size_t before = received;
  for (auto node = group.first_child(); node; node = node.next_sibling()) {
    if (!Xml::isNamed(node, "Prefix")) continue;
    if (++received > most_) return false;
    const std::string_view prefix = document_.text(node);
    if (!prefix.empty()) result_.commonPrefixes.push_back(prefix);
  }
  return received > before || ++received <= most_;  // an empty group is an entry, too
}

}  // namespace CloudStorage::Client::S3
