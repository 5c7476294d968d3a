#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "Util/Xml.h"
#include "error_checks.h"
#include "fuzz_input.h"

namespace {

namespace Xml = CloudStorage::Util::Xml;
using ErrorChecks::require;

void checkDocument(std::string body) {
  const std::size_t size = body.size();
  pugi::xml_document document;
  if (!Xml::parse(body, document).isSuccess()) {
    require(!document.first_child());
    return;
  }
  const pugi::xml_node root = document.document_element();
  require(root.type() == pugi::node_element);
  for (const auto name : {"Buckets", "Bucket", "Code", ""}) {
    for (const auto& node : {Xml::child(root, name), Xml::lastChild(root, name)}) {
      require(!node || Xml::isNamed(node, name));
      const std::string text = Xml::text(node);
      require(text.size() <= size);
      require(text.find('\0') == std::string::npos);
    }
  }
}

// Texts are joined and replaced in place, so they must stay within the storage.
void checkPage(std::string body) {
  Xml::Document page(std::move(body));
  const auto storage = page.storage();
  const auto isInside = [&](std::string_view text) {
    return text.empty() || (text.data() >= storage->data() &&
                            text.data() + text.size() <= storage->data() + storage->size());
  };
  for (auto node = page.root().first_child(); node; node = node.next_sibling()) {
    const std::string_view text = page.text(node);
    require(isInside(text));
    require(isInside(page.replace(text, std::string(text.size() / 2, 'x'))));
  }
}

}  // namespace

void checkInput(std::string_view input) {
  checkDocument(std::string(input));
  checkPage(std::string(input));
  ErrorChecks::checkMarshaller(CloudStorage::Client::S3::S3ErrorMarshaller(), 409, input);
  ErrorChecks::checkMarshaller(CloudStorage::Client::AzureSSB::AzureSSBErrorMarshaller(), 409,
                               input);
}
