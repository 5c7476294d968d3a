#pragma once

#include <locale>
#include <string>

namespace TestSupport {

/// During this object's life the process has a locale that writes 1234567 as 1,234,567, as that of
/// a host may do.
class LocaleWithThousands {
 public:
  LocaleWithThousands() : before_(std::locale::global({std::locale(), new Digits})) {}
  ~LocaleWithThousands() { std::locale::global(before_); }
  LocaleWithThousands(const LocaleWithThousands&) = delete;
  LocaleWithThousands& operator=(const LocaleWithThousands&) = delete;

 private:
  struct Digits : std::numpunct<char> {
    char do_thousands_sep() const override { return ','; }
    std::string do_grouping() const override { return "\3"; }
  };

  const std::locale before_;
};

}  // namespace TestSupport
