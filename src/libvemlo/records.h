#pragma once

#include <cstddef>
#include <string_view>

#include "libvemlo.h"

// What is handed out to hosts.
namespace libvemlo {

// `text` as a C string, to be released with free().
char* copyOf(std::string_view text);

// One folder of a drive service, which the host releases with free_directory().
directory* makeDirectory(std::string_view id, std::string_view name);

// Folders of a drive service that are to be handed out, copied out of the pages that they come in.
class DirectoryList {
 public:
  DirectoryList() = default;
  DirectoryList(const DirectoryList&) = delete;
  DirectoryList& operator=(const DirectoryList&) = delete;
  ~DirectoryList();

  // Makes room for at least so many folders in all.
  void reserve(std::size_t capacity);
  void add(std::string_view id, std::string_view name);
  std::size_t size() const { return size_; }

  // The host releases the list with free_diretories(). Of no folders, too, an array is made.
  void handOut(directory** list, int* count) &&;

 private:
  directory* records_ = nullptr;  // what the host will get
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace libvemlo
