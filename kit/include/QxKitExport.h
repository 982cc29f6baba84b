#pragma once

// Visibility of the kit's functions. A library that provides them defines QXKIT_BUILDING.
#if defined(_WIN32)
#if defined(QXKIT_BUILDING)
#define QXKIT_API __declspec(dllexport)
#else
#define QXKIT_API __declspec(dllimport)
#endif
#else
#define QXKIT_API __attribute__((visibility("default")))
#endif
