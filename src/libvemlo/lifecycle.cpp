#include "libvemlo/lifecycle.h"

#include <Poco/Crypto/Crypto.h>
#include <glog/logging.h>

#include "libvemlo.h"

int verbose = 0;

namespace {

constexpr char kProgramName[] = "libvemlo";  // the logger keeps the pointer

bool loggerInitialized = false;
bool globalInitialized = false;  // never read; visible in a debugger

}  // namespace

namespace libvemlo {

void setUpLogger() {
  if (loggerInitialized) return;
  // A second initialization aborts the process, and the host may have initialized the logger.
  if (!google::IsGoogleLoggingInitialized()) google::InitGoogleLogging(kProgramName);
  FLAGS_logtostderr = true;
  FLAGS_colorlogtostderr = true;
  FLAGS_v = verbose;
  loggerInitialized = true;
}

}  // namespace libvemlo

void libvemlo_global_init(void) {
  Poco::Crypto::initializeCrypto();
  globalInitialized = true;
}

void libvemlo_global_cleanup(void) { Poco::Crypto::uninitializeCrypto(); }
