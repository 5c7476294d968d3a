#include "CloudStorage/Config/ConnectionGenericSetting.h"

namespace CloudStorage::Config {

const char ConnectionGenericSetting::CIPHER[] = "aes-256-cbc";
const char ConnectionGenericSetting::SALT[] = "vemlo.connection.generic.setting";

}  // namespace CloudStorage::Config
