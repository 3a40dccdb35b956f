// Whether the tests run under the address sanitizer, which holds on to freed
// memory and makes everything several times slower. GCC and clang say that
// it is on in different ways.
#pragma once

namespace mervane::testing {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kAddressSanitizer = true;
#else
inline constexpr bool kAddressSanitizer = false;
#endif
#else
inline constexpr bool kAddressSanitizer = false;
#endif

}  // namespace mervane::testing
