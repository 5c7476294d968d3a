#include <Poco/DateTime.h>
#include <Poco/DateTimeFormat.h>
#include <Poco/DateTimeFormatter.h>
#include <Poco/DateTimeParser.h>
#include <glog/logging.h>
#include <gmock/gmock.h>

#include <string>

#include "CloudStorage/Client/AmazonDrive/Model.h"
#include "CloudStorage/Client/OneDrive/DriveItem.h"
#include "CloudStorage/Client/WSError.h"
#include "support/locale_with_thousands.h"
#include "support/log_capture.h"

namespace {

using CloudStorage::Client::AmazonDrive::Model::FileResource;
using CloudStorage::Util::IsoTime;

const std::string& kFormat = Poco::DateTimeFormat::ISO8601_FRAC_FORMAT;

std::string writtenByPoco(const char* text) {
  int offset = 0;
  auto time = Poco::DateTimeParser::parse(kFormat, text, offset);
  time.makeUTC(offset);
  return Poco::DateTimeFormatter::format(time, kFormat);
}

// Times of a service, parsed and formatted by Poco.
TEST(TextForms, TimesOfAmazonDriveNodesAreWrittenAsPocoWritesThem) {
  for (const char* text :
       {"2015-03-02T10:00:00.000Z", "2015-03-02T10:00:00.123Z", "2015-03-02T10:00:00Z",
        "2024-02-29T23:59:59.999999Z", "1970-01-01T00:00:00.000001Z", "2100-12-31T00:00:00.5Z",
        "1969-12-31T23:59:59.5Z", "0001-01-01T00:00:00Z", "9999-12-31T23:59:59Z",
        "2024-02-29T10:30:15+02:00", "2016-12-31T23:59:60Z"}) {
    FileResource node;
    node.createdTime = IsoTime(text);
    node.modifiedTime = IsoTime("not a time");
    const std::string line = node.toString();
    EXPECT_NE(line.find(", _createdTime = " + writtenByPoco(text) +
                        ", _modifiedTime = " + writtenByPoco("1970-01-01T00:00:00Z") + ", "),
              std::string::npos)
        << line;
  }
}

TEST(TextForms, OfErrorsHaveNoThousandsSeparators) {
  CloudStorage::Client::Error error;
  error.errorType = static_cast<CloudStorage::Client::CoreErrors>(12345);
  error.httpResponseCode = 1234;
  const TestSupport::LocaleWithThousands locale;
  const TestSupport::LogCapture log;
  LOG(ERROR) << error;
  EXPECT_THAT(log.records(),
              testing::ElementsAre(TestSupport::errorLine(
                  "{ Error type: 12345, Exception: , Message: , HttpResponseCode: 1234, "
                  "Retryable: 0 }")));
}

TEST(TextForms, OfItemsHaveNoThousandsSeparators) {
  CloudStorage::Client::OneDrive::Model::DriveItem item;
  item.size = 1234567;
  FileResource node;
  node.size = 1234567;
  const TestSupport::LocaleWithThousands locale;
  EXPECT_THAT(item.toString(), testing::HasSubstr(", size: 1234567, "));
  EXPECT_THAT(node.toString(), testing::HasSubstr(", _size: 1234567, "));
}

}  // namespace
