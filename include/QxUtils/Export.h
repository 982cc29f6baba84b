#pragma once

// Visibility of the library's functions. QXUTILS_BUILDING is defined while the library itself, or a program that
// contains its objects, is compiled.
#if defined(_WIN32)
#if defined(QXUTILS_BUILDING)
#define QXUTILS_API __declspec(dllexport)
#else
#define QXUTILS_API __declspec(dllimport)
#endif
#else
#define QXUTILS_API __attribute__((visibility("default")))
#endif
