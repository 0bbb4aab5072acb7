#pragma once
/// How names leave the library, and the platform types that public headers only name.

#if defined(_WIN32)
#if defined(KFRAMEWORK_BUILDING)
#define KFRAMEWORK_API __declspec(dllexport)
#else
#define KFRAMEWORK_API __declspec(dllimport)
#endif
#else
#define KFRAMEWORK_API __attribute__((visibility("default")))
#endif
