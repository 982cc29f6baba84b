#pragma once

#include <cstdint>

// A raw detector pixel: 16-bit unsigned counts. Declared as the platform's own header declares it.
using WORD = unsigned short;
static_assert(sizeof(WORD) == 2);

// Counts that a corrected image carries without signal.
inline constexpr int kPedestal = 208;

// One entry of a directory listing, as the platform's own header declares it: on Windows include <windows.h> to look
// into it. Elsewhere it is this record of the same 320 bytes.
#ifdef _WIN32
struct _WIN32_FIND_DATAA;
#else
struct QxFileTime {
    std::uint32_t dwLowDateTime;  // 100 ns since 1601-01-01 UTC
    std::uint32_t dwHighDateTime;
};

struct _WIN32_FIND_DATAA {
    std::uint32_t dwFileAttributes;
    QxFileTime ftCreationTime;
    QxFileTime ftLastAccessTime;
    QxFileTime ftLastWriteTime;
    std::uint32_t nFileSizeHigh;
    std::uint32_t nFileSizeLow;
    std::uint32_t dwReserved0;
    std::uint32_t dwReserved1;
    char cFileName[260];
    char cAlternateFileName[14];
};
static_assert(sizeof(_WIN32_FIND_DATAA) == 320);
#endif
