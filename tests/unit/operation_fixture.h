#pragma once

#include <gmock/gmock.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CloudStorage/Client/WSError.h"
#include "support/log_capture.h"
#include "support/outs.h"
#include "support/services.h"

// What the tests of all operations have in common.
namespace UnitTests {

/// Possible numbers of an error type, known to the layer or not.
inline constexpr std::uint32_t kErrorTypes[] = {0U, 1U, 18U, 259U, 2147483648U, 4294967295U};

inline CloudStorage::Client::Error errorOfType(std::uint32_t type) {
  return {static_cast<CloudStorage::Client::CoreErrors>(type), "Name", "", {}, true, -1};
}

/// Reading it is an invalid memory access.
inline session* unreadableSession() { return reinterpret_cast<session*>(std::uintptr_t{64}); }

/// Calls `function` with a session of every service except the named one. Each call must return -1
/// and log nothing.
template <typename Function>
void expectRefusalOfSessionsOfOthersThan(const std::string& service, const Function& function) {
  for (const TestSupport::Service& other : TestSupport::allServices()) {
    if (other.name == service) continue;
    SCOPED_TRACE(other.name);
    const TestSupport::OwnedSession handle(other.open(nullptr));
    ASSERT_NE(handle, nullptr);
    const TestSupport::LogCapture log;
    EXPECT_EQ(function(handle.get()), -1);
    EXPECT_THAT(log.records(), testing::IsEmpty());
  }
}

/// Texts as a received page holds them: adjacent and without terminators.
class PageTexts {
 public:
  explicit PageTexts(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) all += text;
    page_ = std::make_shared<const std::string>(std::move(all));
    std::size_t begin = 0;
    for (const std::string& text : texts) {
      views_.push_back(std::string_view(*page_).substr(begin, text.size()));
      begin += text.size();
    }
  }

  const std::shared_ptr<const std::string>& page() const { return page_; }
  const std::vector<std::string_view>& views() const { return views_; }

 private:
  std::shared_ptr<const std::string> page_;
  std::vector<std::string_view> views_;
};

/// What a substitute returns for a series of requests, and the requests that it was sent.
template <typename Request, typename Outcome>
class Script {
 public:
  using Responder = std::function<Outcome()>;

  /// Starts a series with one responder for each request, and returns their number.
  int reset(std::vector<Responder> responders) {
    responders_ = std::move(responders);
    requests.clear();
    return static_cast<int>(responders_.size());
  }

  Outcome operator()(const Request& request) {
    requests.push_back(request);
    return responders_.at(requests.size() - 1)();
  }

  std::vector<Request> requests;

 private:
  std::vector<Responder> responders_;
};

/// Of an optional parameter: present with the value `expected`.
MATCHER_P(IsPresentAs, expected, "") { return arg.isPresent() && arg.value() == expected; }
/// Of an optional parameter: absent, whatever its value.
MATCHER(IsAbsent, "") { return !arg.isPresent(); }

}  // namespace UnitTests
