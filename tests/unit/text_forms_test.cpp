#include <Poco/DateTimeFormat.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/Timestamp.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "CloudStorage/Client/AmazonDrive/Model.h"

namespace {

using CloudStorage::Client::AmazonDrive::Model::FileResource;
using CloudStorage::Util::IsoTime;
using std::chrono::microseconds;

std::string writtenByPoco(const IsoTime& time) {
  const auto sinceEpoch = time.value().time_since_epoch();
  return Poco::DateTimeFormatter::format(
      Poco::Timestamp(std::chrono::duration_cast<microseconds>(sinceEpoch).count()),
      Poco::DateTimeFormat::ISO8601_FRAC_FORMAT);
}

// Times of a service, parsed and formatted by Poco.
TEST(TextForms, TimesOfAmazonDriveNodesAreWrittenAsPocoWritesThem) {
  for (const char* text :
       {"2015-03-02T10:00:00.000Z", "2015-03-02T10:00:00.123Z", "2015-03-02T10:00:00Z",
        "2024-02-29T23:59:59.999999Z", "1970-01-01T00:00:00.000001Z", "2100-12-31T00:00:00.5Z"}) {
    FileResource node;
    node.createdTime = IsoTime(text);
    node.modifiedTime = IsoTime("not a time");
    const std::string line = node.toString();
    EXPECT_NE(line.find(", _createdTime = " + writtenByPoco(node.createdTime) +
                        ", _modifiedTime = " + writtenByPoco(IsoTime()) + ", "),
              std::string::npos)
        << line;
  }
}

}  // namespace
