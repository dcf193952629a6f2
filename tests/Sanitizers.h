// Whether this is built with a sanitizer, which changes what memory and time things take. Compilers tell it in two ways.
#pragma once

#if defined(__has_feature)
#define VARNEL_HAS_FEATURE(name) __has_feature(name)
#else
#define VARNEL_HAS_FEATURE(name) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || VARNEL_HAS_FEATURE(address_sanitizer)
#define VARNEL_HAS_ADDRESS_SANITIZER
#endif

#if defined(VARNEL_HAS_ADDRESS_SANITIZER) || defined(__SANITIZE_THREAD__) || \
    VARNEL_HAS_FEATURE(thread_sanitizer)
#define VARNEL_IS_SANITIZED
#endif
