#include "libvemlo/lifecycle.h"

#include <Poco/Crypto/Crypto.h>
#include <glog/logging.h>

#include "libvemlo.h"
#include "libvemlo/exception_barrier.h"

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
  constexpr libvemlo::LoggedAs kLog{"Failed to initialize the crypto library. "};
  globalInitialized = libvemlo::guarded(false, kLog, [] {
    Poco::Crypto::initializeCrypto();
    return true;
  });
}

void libvemlo_global_cleanup(void) {
  constexpr libvemlo::LoggedAs kLog{"Failed to release the crypto library. "};
  libvemlo::guarded(false, kLog, [] {
    Poco::Crypto::uninitializeCrypto();
    return true;
  });
}
