#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

#include "libvemlo.h"
#include "support/fresh_process.h"

namespace {

using Getter = location_contraint_name_mapping* (*)();

struct Row {
  int code;
  const char* name;  // null: none
};

struct Flavour {
  const char* name;
  Getter getter;
  std::vector<Row> rows;  // without the end mark
};

void PrintTo(const Flavour& flavour, std::ostream* out) { *out << flavour.name; }

constexpr int kEndOfTable = 17;

class S3Locations : public testing::TestWithParam<Flavour> {};

TEST_P(S3Locations, AreThoseOfTheFlavourInOrder) {
  const auto* record = GetParam().getter();
  for (const auto& row : GetParam().rows) {
    ASSERT_NE(record->location_contraint, kEndOfTable) << "before code " << row.code;
    EXPECT_EQ(record->location_contraint, row.code);
    EXPECT_STREQ(record->name, row.name);
    ++record;
  }
  EXPECT_EQ(record->location_contraint, kEndOfTable);
  EXPECT_EQ(record->name, nullptr);
}

TEST_P(S3Locations, AreAlwaysTheSameTable) { EXPECT_EQ(GetParam().getter(), GetParam().getter()); }

TEST_P(S3Locations, AreInWritableMemory) {
  auto& record = *GetParam().getter();
  const auto original = record;
  record = {4711, "somewhere"};
  EXPECT_EQ(GetParam().getter()->location_contraint, 4711);
  EXPECT_STREQ(GetParam().getter()->name, "somewhere");
  record = original;
}

TEST_P(S3Locations, NeedNoInitialisation) {
  TestSupport::inFreshProcess(
      [] { EXPECT_EQ(GetParam().getter()->location_contraint, GetParam().rows.front().code); });
}

INSTANTIATE_TEST_SUITE_P(
    Flavours, S3Locations,
    testing::Values(
        Flavour{"S3",
                s3_get_location_contraint_name_mappings,
                {{0, "US Standard"},
                 {1, "Ohio"},
                 {2, "Northern California"},
                 {3, "Oregon"},
                 {4, "Mumbai"},
                 {5, "Singapore"},
                 {6, "Sydney"},
                 {7, "Tokyo"},
                 {8, "Seoul"},
                 {9, "Sao Paulo"},
                 {12, "Frankfurt"},
                 {13, "Ireland"},
                 {14, "London"},
                 {15, "Montreal"}}},
        Flavour{"S3China",
                s3_cn_get_location_contraint_name_mappings,
                {{10, "Beijing"}, {11, "Ningxia"}}},
        Flavour{"Wasabi", wasabi_get_location_contraint_name_mappings, {{0, "US Standard"}}},
        Flavour{"Customized", customized_get_location_contraint_name_mappings, {{16, nullptr}}}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(S3LocationTables, AreFourDifferentOnes) {
  EXPECT_THAT((std::vector<const void*>{s3_cn_get_location_contraint_name_mappings(),
                                        wasabi_get_location_contraint_name_mappings(),
                                        customized_get_location_contraint_name_mappings()}),
              testing::Not(testing::Contains(s3_get_location_contraint_name_mappings())));
  EXPECT_NE(s3_cn_get_location_contraint_name_mappings(),
            wasabi_get_location_contraint_name_mappings());
  EXPECT_NE(s3_cn_get_location_contraint_name_mappings(),
            customized_get_location_contraint_name_mappings());
  EXPECT_NE(wasabi_get_location_contraint_name_mappings(),
            customized_get_location_contraint_name_mappings());
}

TEST(S3LocationTables, TheGlobalOneHasFourteenNamedRegionsAndNoneOfChina) {
  std::vector<int> codes;
  for (const auto* record = s3_get_location_contraint_name_mappings();
       record->location_contraint != kEndOfTable; ++record) {
    EXPECT_NE(record->name, nullptr);
    codes.push_back(record->location_contraint);
  }
  EXPECT_EQ(codes.size(), 14U);
  EXPECT_THAT(codes, testing::Not(testing::Contains(testing::AnyOf(10, 11))));
}

TEST(S3LocationTables, TheCustomizedOneHasOneRecordWithoutANameBeforeItsEnd) {
  const auto* table = customized_get_location_contraint_name_mappings();
  EXPECT_EQ(table[0].location_contraint, 16);
  EXPECT_EQ(table[0].name, nullptr);  // a search that ends at a null name finds nothing
  EXPECT_EQ(table[1].location_contraint, kEndOfTable);
}

}  // namespace
