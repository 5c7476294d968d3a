#pragma once

#include <cstddef>

#include "CloudStorage/Client/S3/Model.h"
#include "Util/Xml.h"

namespace CloudStorage::Client::S3 {

/// Reads the elements of a page of keys one by one.
class S3ObjectsReader {
 public:
  /// What the result contains. Objects that are not read are counted only.
  enum class Reads { Everything, CommonPrefixes };

  /// At most `most` elements may be entries.
  S3ObjectsReader(Util::Xml::Document& document, std::size_t most, Reads reads)
      : document_(document), most_(most), reads_(reads) {}

  /// Returns false if there are too many entries.
  bool read(pugi::xml_node node);

  Model::ListObjectsV2Result result() &&;

 private:
  bool readPrefixes(pugi::xml_node group);
  bool readObject(pugi::xml_node node);

  Util::Xml::Document& document_;
  const std::size_t most_;
  const Reads reads_;
  // It is found in the same pass, because a search among a thousand siblings is expensive.
  bool isEncoded_ = false;
  Model::ListObjectsV2Result result_;
};

}  // namespace CloudStorage::Client::S3
