#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "Util/Json.h"

namespace CloudStorage::Util::Json {

/// The JSON parsers of one client. A parser's memory is several times as large as what it has
/// parsed, so parsers are kept for the responses that follow. Safe for concurrent use.
class ParserPool {
 public:
  /// A parser for one response. Returned to the pool at the end.
  class Lease {
   public:
    explicit Lease(ParserPool& pool) : pool_(pool), parser_(pool.acquire()) {}
    ~Lease() { pool_.release(std::move(parser_)); }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    Parser& parser() const { return *parser_; }

   private:
    ParserPool& pool_;
    std::unique_ptr<Parser> parser_;
  };

  ParserPool() { idle_.reserve(kMaxIdle); }  // so that a release allocates nothing

 private:
  static constexpr std::size_t kMaxIdle = 8;
  /// Parsers of larger responses are not kept.
  static constexpr std::size_t kMaxCapacity = std::size_t{1} << 20U;

  std::unique_ptr<Parser> acquire() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (!idle_.empty()) {
        auto parser = std::move(idle_.back());
        idle_.pop_back();
        return parser;
      }
    }
    return std::make_unique<Parser>();
  }

  void release(std::unique_ptr<Parser> parser) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (idle_.size() == kMaxIdle || parser->capacity() > kMaxCapacity) return;
    idle_.push_back(std::move(parser));
  }

  std::mutex mutex_;
  std::vector<std::unique_ptr<Parser>> idle_;
};

}  // namespace CloudStorage::Util::Json
