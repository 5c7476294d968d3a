#pragma once

#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "CloudStorage/Client/WSError.h"
#include "libvemlo.h"

// What S3 and Azure have in common: their result codes and their lists.
namespace libvemlo {

// A failed call's error type, which is the result code.
int resultOf(const CloudStorage::Client::Error& error);
// The same, and the error goes to the log.
int reportFailure(const CloudStorage::Client::Error& error);

// Names that are to be handed out, copied out of the pages that they come in.
class NameList {
 public:
  void reserve(std::size_t count) { names_.reserve(count); }
  void add(std::string_view name);

  // As names of buckets or containers. The list is null if there are none; the host releases it
  // with free_buckets().
  void handOut(char*** list, int* count) &&;
  // As folders, which are addressed by their full prefix and have no id. The list is null if there
  // are none; the host releases it with free_diretories().
  void handOut(directory** list, int* count) &&;

 private:
  struct Free {
    void operator()(char* text) const { std::free(text); }
  };
  std::vector<std::unique_ptr<char, Free>> names_;
};

}  // namespace libvemlo
