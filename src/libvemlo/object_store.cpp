#include "libvemlo/object_store.h"

#include <glog/logging.h>

#include "libvemlo/records.h"

namespace libvemlo {

int resultOf(const CloudStorage::Client::Error& error) { return static_cast<int>(error.errorType); }

int reportFailure(const CloudStorage::Client::Error& error) {
  SYSLOG(ERROR) << error;
  return resultOf(error);
}

void NameList::add(std::string_view name) { names_.emplace_back(copyOf(name)); }

void NameList::handOut(char*** list, int* count) && {
  *list = nullptr;
  *count = static_cast<int>(names_.size());
  if (*count <= 0) return;
  *list = static_cast<char**>(std::calloc(names_.size(), sizeof(char*)));
  for (std::size_t i = 0; i < names_.size(); ++i) (*list)[i] = names_[i].release();
}

void NameList::handOut(directory** list, int* count) && {
  *list = nullptr;
  *count = static_cast<int>(names_.size());
  if (*count <= 0) return;
  *list = static_cast<directory*>(std::calloc(names_.size(), sizeof(directory)));
  for (std::size_t i = 0; i < names_.size(); ++i) (*list)[i].name = names_[i].release();
}

}  // namespace libvemlo
