#pragma once

namespace TestSupport {

/// Whether a sanitizer keeps memory that has been released.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VEMLO_IS_SANITIZED
#endif
#endif
#ifdef VEMLO_IS_SANITIZED
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

}  // namespace TestSupport
