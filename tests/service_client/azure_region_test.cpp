#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "CloudStorage/Auth/AzureSSBAuthentication.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Util/Threading/DefaultExecutor.h"

namespace {

using CloudStorage::Auth::AzureSSBAuthentication;
using CloudStorage::Client::AzureSSB::AzureSSBClient;
using CloudStorage::Client::AzureSSB::Region;
using CloudStorage::Util::Threading::DefaultExecutor;

struct Row {
  const char* name;
  Region region;
};

constexpr Row kRows[] = {
    {"", Region::Global},
    {" ", Region::Global},
    {"global", Region::Global},
    {"azure", Region::Global},
    {"AzureCloud", Region::Global},
    {"public", Region::Global},
    {"default", Region::Global},
    {"Windows Azure", Region::Global},
    {"westeurope", Region::Global},
    {"eastus2", Region::Global},
    {"no such region", Region::Global},
    {"us", Region::Global},
    {"usg", Region::Global},

    {"china", Region::China},
    {"AzureChina", Region::China},
    {"AzureChinaCloud", Region::China},
    {"chinaeast", Region::China},
    {"China East 2", Region::China},
    {"chinanorth", Region::China},
    {"china-north-3", Region::China},
    {"chinatown", Region::Global},
    {"northchina", Region::Global},

    {"germany", Region::Germany},
    {"AzureGerman", Region::Germany},
    {"AzureGermanCloud", Region::Germany},
    {"Germany Central", Region::Germany},
    {"germany_north_east", Region::Germany},
    {"germanywestcentral", Region::Global},
    {"germanynorth", Region::Global},
    {"germanycentral2", Region::Global},

    {"usgov", Region::USGovernment},
    {"usgovernment", Region::USGovernment},
    {"USGov Virginia", Region::USGovernment},
    {"us-gov-texas", Region::USGovernment},
    {"AzureUSGovernment", Region::USGovernment},
    {"government", Region::USGovernment},
    {"usdod", Region::USGovernment},
    {"US DoD East", Region::USGovernment},
    {"governments", Region::Global},
};

TEST(AzureRegion, EveryNameGivesItsCloud) {
  for (const auto& [name, region] : kRows) {
    EXPECT_EQ(AzureSSBClient::getRegionForName(name), region) << '"' << name << '"';
  }
}

TEST(AzureRegion, CaseSpacesHyphensAndUnderscoresAreIgnored) {
  for (const auto* name : {"GERMANYCENTRAL", "germany central", "germany-central",
                           "germany_central", " -_Ger many--Central_ "}) {
    EXPECT_EQ(AzureSSBClient::getRegionForName(name), Region::Germany) << '"' << name << '"';
  }
}

TEST(AzureRegion, ClientKeepsItsParts) {
  const auto authentication = std::make_shared<AzureSSBAuthentication>("account", "a2V5");
  const auto executor = std::make_shared<DefaultExecutor>();
  const AzureSSBClient client("account", authentication, nullptr, nullptr, nullptr, nullptr,
                              executor, {"proxy.example.test", 3128, "user", "password"},
                              Region::China);
  EXPECT_EQ(client.accountName(), "account");
  EXPECT_EQ(client.region(), Region::China);
  EXPECT_EQ(client.credential(), authentication);
  EXPECT_EQ(client.parts().executor, executor);
  EXPECT_EQ(client.parts().proxy.host, "proxy.example.test");
  EXPECT_EQ(client.parts().proxy.port, 3128);
}

TEST(AzureRegion, ClientCanBeMadeWithAnInvalidAccountName) {
  const AzureSSBClient client("../@evil#", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, {},
                              Region::Global);
  EXPECT_EQ(client.accountName(), "../@evil#");
}

}  // namespace
