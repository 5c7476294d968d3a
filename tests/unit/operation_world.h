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
#include "libvemlo.h"
#include "services.h"

// What the tests of all services' operations have in common.
namespace UnitTests {

/// Numbers that an error type can have, whether or not the layer knows them.
inline constexpr std::uint32_t kErrorTypes[] = {0U, 1U, 18U, 259U, 2147483648U, 4294967295U};

inline CloudStorage::Client::Error errorOfType(std::uint32_t type) {
  return {static_cast<CloudStorage::Client::CoreErrors>(type), "Name", "", {}, true, -1};
}

/// No session in the sense of the library: reading it would be noticed.
inline session* unreadableSession() { return reinterpret_cast<session*>(std::uintptr_t{64}); }

/// A session of every service but the named one, one after the other.
inline void withSessionsOfOthersThan(const std::string& service,
                                     const std::function<void(session*)>& body) {
  for (const Service& other : allServices()) {
    if (other.name == service) continue;
    SCOPED_TRACE(other.name);
    const OwnedSession handle(other.open(nullptr));
    ASSERT_NE(handle, nullptr);
    body(handle.get());
  }
}

/// Texts as a received page holds them: side by side, without an end mark.
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

/// `count` names from number `first` on, in an order that is not the alphabet's, each with
/// `suffix`.
inline std::vector<std::string> numberedNames(int first, int count, const std::string& suffix) {
  std::vector<std::string> names;
  for (int i = first; i < first + count; ++i) names.push_back(std::to_string(i) + suffix);
  return names;
}

inline std::vector<std::string> namesOf(char* const* list, int count) {
  return {list, list + count};
}

inline std::vector<std::string> namesOf(const directory* list, int count) {
  std::vector<std::string> names;
  for (int i = 0; i < count; ++i) names.emplace_back(list[i].name);
  return names;
}

/// The out-parameters of a listing, which hold what no operation writes until one does.
template <typename Item>
struct ListOuts {
  Item* list = untouched();
  int count = 4711;

  static Item* untouched() {
    static Item item{};
    return &item;
  }

  bool areUntouched() const { return list == untouched() && count == 4711; }
  bool areCleared() const { return list == nullptr && count == 0; }
  std::vector<std::string> names() const { return namesOf(list, count); }
};

/// Of an optional parameter: set to `expected`, and to be sent.
MATCHER_P(IsPresentAs, expected, "") { return arg.isPresent() && arg.value() == expected; }
/// Of an optional parameter: not to be sent, whatever it holds.
MATCHER(IsAbsent, "") { return !arg.isPresent(); }

}  // namespace UnitTests
