#include "libvemlo/exception_barrier.h"

#include <Poco/Exception.h>

#include <exception>

#include "libvemlo/log_line.h"

namespace libvemlo {

void LoggedAs::operator()(const char* exceptionText) const {
  ErrorLine() << failureText << exceptionText;
}

void logCurrentException(const ExceptionLog& log) {
  writeLine([&log] {
    try {
      throw;
    } catch (const Poco::Exception& exception) {
      log(exception.displayText().c_str());
    } catch (const std::exception& exception) {
      log(exception.what());
    } catch (const abi::__forced_unwind&) {
      throw;
    } catch (...) {
      log("unknown exception");
    }
  });
}

}  // namespace libvemlo
