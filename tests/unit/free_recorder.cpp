#include "free_recorder.h"

namespace {

thread_local UnitTests::FreeRecorder* active = nullptr;

}  // namespace

// The linker redirects every call of free() to __wrap_free, and __real_free to free().
extern "C" {
void __real_free(void* block);  // NOLINT(bugprone-reserved-identifier): the linker's name
void __wrap_free(void* block);  // NOLINT(bugprone-reserved-identifier): the linker's name

void __wrap_free(void* block) {  // NOLINT(bugprone-reserved-identifier): the linker's name
  if (active != nullptr && block != nullptr) active->note(block);
  __real_free(block);
}
}

namespace UnitTests {

FreeRecorder::FreeRecorder() { active = this; }
FreeRecorder::~FreeRecorder() { active = nullptr; }

}  // namespace UnitTests
