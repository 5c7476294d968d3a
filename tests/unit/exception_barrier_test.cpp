#include "libvemlo/exception_barrier.h"

#include <Poco/Exception.h>
#include <gmock/gmock.h>
#include <pthread.h>

#include <new>
#include <stdexcept>

#include "libvemlo/log_line.h"
#include "libvemlo/object_store.h"
#include "support/log_capture.h"

namespace {

using libvemlo::guarded;
using libvemlo::LoggedAs;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::errorLine;
using TestSupport::LogCapture;

constexpr int kFailed = 7;

template <typename Exception>
int guardedThrow(const Exception& exception) {
  return guarded(kFailed, LoggedAs{"Failed. "}, [&exception]() -> int { throw exception; });
}

TEST(ExceptionBarrier, ReturnsWhatTheWorkReturns) {
  const LogCapture log;
  EXPECT_EQ(guarded(kFailed, LoggedAs{"Failed. "}, [] { return 3; }), 3);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(ExceptionBarrier, TurnsEachExceptionIntoALineAndTheResult) {
  const LogCapture log;
  EXPECT_EQ(guardedThrow(std::runtime_error("no luck")), kFailed);
  EXPECT_EQ(guardedThrow(Poco::IOException("no luck")), kFailed);
  EXPECT_EQ(guardedThrow(4711), kFailed);
  EXPECT_THAT(log.records(),
              ElementsAre(errorLine("Failed. no luck"), errorLine("Failed. I/O error: no luck"),
                          errorLine("Failed. unknown exception")));
}

TEST(ExceptionBarrier, LogsTheErrorOfAnObjectStoreInTheirForm) {
  const LogCapture log;
  const int result = guarded(libvemlo::kLocalFailure, libvemlo::logAsError,
                             []() -> int { throw std::runtime_error("no luck"); });
  EXPECT_EQ(result, 1);
  EXPECT_THAT(log.records(),
              ElementsAre(errorLine("{ Error type: 1, Exception: InternalFailure, Message: no "
                                    "luck, HttpResponseCode: 0, Retryable: 0 }")));
}

TEST(ExceptionBarrier, IgnoresThatALineCannotBeWritten) {
  const auto log = [](const char*) { throw std::bad_alloc(); };
  EXPECT_EQ(guarded(kFailed, log, []() -> int { throw std::runtime_error("no luck"); }), kFailed);
}

void* cancelAtALine(void* /*argument*/) {
  pthread_cancel(pthread_self());
  libvemlo::ErrorLine() << "written";
  libvemlo::PlainErrorLine() << "written";
  libvemlo::VerboseLine() << "written";
  pthread_testcancel();
  return nullptr;
}

// Writing is a point of cancellation, within a destructor that must not throw.
TEST(LogLine, IsWrittenByAThreadThatIsCancelled) {
  const LogCapture log;
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, nullptr, cancelAtALine, nullptr), 0);
  void* result = nullptr;
  ASSERT_EQ(pthread_join(thread, &result), 0);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  EXPECT_THAT(log.records(), testing::SizeIs(3));
}

void* cancelInBarrier(void* /*argument*/) {
  guarded(kFailed, libvemlo::notLogged, [] {
    libvemlo::writeLine([] {
      pthread_cancel(pthread_self());
      pthread_testcancel();
    });
    return 0;
  });
  return nullptr;
}

// An exception that is not passed on when a thread is cancelled would end the process.
TEST(ExceptionBarrier, LetsTheCancellationOfAThreadPass) {
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, nullptr, cancelInBarrier, nullptr), 0);
  void* result = nullptr;
  ASSERT_EQ(pthread_join(thread, &result), 0);
  EXPECT_EQ(result, PTHREAD_CANCELED);
}

}  // namespace
