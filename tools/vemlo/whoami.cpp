#include "whoami.h"

#include <CLI/CLI.hpp>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include "account_command.h"
#include "account_members.h"
#include "calls.h"
#include "linked_account.h"
#include "open_library.h"
#include "output.h"
#include "services.h"
#include "stored_tokens.h"

namespace tool {
namespace {

struct Arguments {
  std::string name;
  bool json = false;
  ProxyOptions proxy;
};

/// A number of bytes as people write it, such as "1.5 GiB".
std::string sizeText(std::uint64_t bytes) {
  constexpr std::array<const char*, 7> kUnits{"bytes", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  constexpr double kStep = 1024;
  auto size = static_cast<double>(bytes);
  std::size_t unit = 0;
  // What would be rounded to 1024.0 is 1.0 of the next unit.
  while (size >= kStep - 0.05 && unit + 1 < kUnits.size()) {
    size /= kStep;
    ++unit;
  }
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", size, kUnits.at(unit));
  return text.data();
}

Cell textCell(const std::string& text) { return text.empty() ? Cell() : Cell(text); }

Cell sizeCell(const std::optional<std::uint64_t>& bytes, bool asJson) {
  if (!bytes) return {};
  return asJson ? Cell(static_cast<std::int64_t>(*bytes)) : Cell(sizeText(*bytes));
}

Listing describeDrive(OpenLibrary& library, const Calls& calls, const Account& account,
                      const Arguments& arguments, const vemlo::Proxy& proxy) {
  StoredTokens tokens(library, arguments.name, account);
  const vemlo::Account owner = calls.make(
      "ask whose account it is",
      [&](const vemlo::Call& call) {
        return vemlo::accountOf(calls.caller.service.id, tokens.tokens(), proxy, call);
      },
      [&tokens] { return tokens.takeNewer(); });
  return {
      {"service", "name", "email", "used", "total"},
      {{calls.caller.service.name, textCell(owner.name), textCell(owner.email),
        sizeCell(owner.usedSpace, arguments.json), sizeCell(owner.totalSpace, arguments.json)}}};
}

/// The number of buckets, which is in words if the service does not list all of them.
Cell countOf(const vemlo::Names& buckets, bool asJson) {
  const auto count = std::distance(buckets.begin(), buckets.end());
  if (!buckets.isCutShort()) return static_cast<std::int64_t>(count);
  return asJson ? Cell() : Cell("more than " + std::to_string(count));
}

Listing describeStore(const Calls& calls, const Account& account, const Arguments& arguments,
                      const vemlo::Proxy& proxy) {
  const auto store = openStore(arguments.name, account, proxy);
  const std::string buckets = calls.caller.service.bucketWord + "s";
  std::string keys = "accepted";
  Cell count;
  try {
    count = countOf(calls.attempt([&](const vemlo::Call& call) { return store->buckets(call); }),
                    arguments.json);
  } catch (const vemlo::Failure& failure) {
    if (failure.kind() != vemlo::Kind::Denied) {
      throw explain("list the " + buckets + " of '" + arguments.name + "'", failure, calls.caller);
    }
    keys = "not known";
    writeMessage("the account may not list its " + buckets + ", or its keys are wrong");
  }
  const bool isS3 = calls.caller.service.id == vemlo::Service::S3;
  const char* member = isS3 ? member::kEndpoint : member::kAccount;
  const std::string& given = account.values.at(member);
  const std::string address = given.empty() ? "https://s3.amazonaws.com" : given;
  return {{"service", member, "keys", buckets}, {{account.service, address, keys, count}}};
}

void whoAmI(const Arguments& arguments) {
  const vemlo::Proxy proxy = resolveProxy(arguments.proxy);
  OpenLibrary library;
  // After all that waits for the user: another process may renew the tokens in the meantime.
  const Account account = linkedAccount(arguments.name);
  const Service& service = serviceNamed(account.service);
  const Calls calls{{service, arguments.name}, arguments.json};
  const Listing listing = service.isDrive()
                              ? describeDrive(library, calls, account, arguments, proxy)
                              : describeStore(calls, account, arguments, proxy);
  if (arguments.json) {
    writeListing(listing, true);
  } else {
    writeFields(listing);
  }
}

}  // namespace

void addWhoAmICommand(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command = addAccountCommand(
      app, "whoami", "Check an account; prints whose it is and the space in use, as far as known");
  command.add_option("NAME", arguments->name, "The account's name")->required()->type_name("");
  addJsonFlag(command, arguments->json);
  addProxyOptions(command, arguments->proxy);
  command.callback([arguments] { whoAmI(*arguments); });
}

}  // namespace tool
