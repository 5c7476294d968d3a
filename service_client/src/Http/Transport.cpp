#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Http {

const char* methodName(Method method) {
  switch (method) {
    case Method::Get:
      return "GET";
    case Method::Head:
      return "HEAD";
    case Method::Post:
      return "POST";
    case Method::Put:
      return "PUT";
  }
  return "";
}

}  // namespace CloudStorage::Http
