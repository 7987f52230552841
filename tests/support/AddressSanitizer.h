#pragma once

// ORVENTA_ADDRESS_SANITIZER is defined in builds instrumented with AddressSanitizer: GCC says so
// with __SANITIZE_ADDRESS__, clang only through __has_feature.
#if defined(__SANITIZE_ADDRESS__)
#define ORVENTA_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ORVENTA_ADDRESS_SANITIZER 1
#endif
#endif
