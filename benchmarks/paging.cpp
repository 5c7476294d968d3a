#include "paging.h"

#include <algorithm>

namespace benchmarks {
namespace {

// As long as the services' tokens, of characters that need no encoding anywhere.
constexpr std::string_view kToken =
    "AI9FV7SxLk2mWq0ZtYbEoN4uHcR8dGvJ1pXaTi5yKfB6zQwMsDlC3nUgOhPe7rIj9vAkSxL2mFqWtZ0bYoEuN4cH"
    "R8dGvJ1pXaTi5yKfB6-next-page-";

}  // namespace

std::string Paging::token(int page) const {
  if (page == 0 || page >= pages()) return {};
  return std::string(kToken) + std::to_string(page);
}

int Paging::endOf(int page) const { return std::min(entries, firstOf(page + 1)); }

std::size_t requestedPage(std::string_view request) {
  const std::size_t token = request.find(kToken);
  if (token == std::string_view::npos) return 0;
  constexpr std::size_t kDigits = 8;
  return std::stoul(std::string(request.substr(token + kToken.size(), kDigits)));
}

}  // namespace benchmarks
