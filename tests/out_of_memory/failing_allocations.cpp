#include "failing_allocations.h"

#include <openssl/crypto.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <pugixml.hpp>

// The linker redirects the calls of these functions in the program's own code to __wrap_..., and
// those of __real_... to the C library.
// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
char* __wrap_strdup(const char* text);
void __wrap_free(void* block);
}

namespace OutOfMemory {
namespace {

struct State {
  Plan plan;
  bool armed = false;
  bool failed = false;
  std::size_t count = 0;
  std::ptrdiff_t blocks = 0;
};
thread_local State state;

bool fails() {
  if (!state.armed) return false;
  ++state.count;
  const bool chosen =
      state.count == state.plan.number || (state.plan.all && state.count > state.plan.number);
  state.failed = state.failed || chosen;
  return chosen;
}

void* counted(void* block) {
  if (block != nullptr) ++state.blocks;
  return block;
}

void* allocate(std::size_t size) { return fails() ? nullptr : counted(__real_malloc(size)); }

void release(void* block) {
  if (block != nullptr) --state.blocks;
  __real_free(block);
}

void* allocateOrThrow(std::size_t size) {
  void* const block = allocate(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

bool cryptoFails() { return state.plan.withCrypto && fails(); }

// Without optimisation the JSON library has a buffer for checks of its own, and uses it even if it
// could not be allocated.
void* allocateForJson(std::size_t size) {
#ifdef __OPTIMIZE__
  return allocate(size);
#else
  return counted(__real_malloc(size));
#endif
}

void* cryptoAllocate(std::size_t size, const char* /*file*/, int /*line*/) {
  return cryptoFails() ? nullptr : __real_malloc(size);
}
void* cryptoReallocate(void* block, std::size_t size, const char* /*file*/, int /*line*/) {
  return cryptoFails() ? nullptr : __real_realloc(block, size);
}
void cryptoRelease(void* block, const char* /*file*/, int /*line*/) { __real_free(block); }

/// Before the crypto library allocates anything.
const bool isInstalled = [] {
  pugi::set_memory_management_functions(allocate, release);
  return CRYPTO_set_mem_functions(cryptoAllocate, cryptoReallocate, cryptoRelease) == 1;
}();

}  // namespace

void setPlan(const Plan& plan) {
  state.plan = plan;
  state.failed = false;
  state.count = 0;
}

bool hasFailed() { return state.failed; }

Armed::Armed() { state.armed = isInstalled; }
Armed::~Armed() { state.armed = false; }

Exempt::Exempt() : before_(state.armed) { state.armed = false; }
Exempt::~Exempt() { state.armed = before_; }

std::ptrdiff_t blocksInUse() { return state.blocks; }

}  // namespace OutOfMemory

using OutOfMemory::allocate;
using OutOfMemory::allocateOrThrow;
using OutOfMemory::release;

void* __wrap_malloc(std::size_t size) { return allocate(size); }
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return OutOfMemory::fails() ? nullptr : OutOfMemory::counted(__real_calloc(count, size));
}
void* __wrap_realloc(void* block, std::size_t size) {
  if (OutOfMemory::fails()) return nullptr;
  void* const resized = __real_realloc(block, size);
  return block == nullptr ? OutOfMemory::counted(resized) : resized;
}
char* __wrap_strdup(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  void* const copy = allocate(size);
  return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
}
void __wrap_free(void* block) { release(block); }
// NOLINTEND(bugprone-reserved-identifier)

// The other forms without an alignment call these. The library allocates no overaligned objects.
void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return OutOfMemory::allocateForJson(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return OutOfMemory::allocateForJson(size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { release(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept { release(block); }
