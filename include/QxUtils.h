#pragma once

// QxUtils: image processing and utilities of the flat-panel detector kit.
//
// Flat functions over pixel buffers (row-major, width before height) and file names. Every call runs to its end on
// the caller's thread; the caller owns every buffer it passes. Failures are status codes (StatusCode.h). Calls that
// touch process-wide state (log level, debug flag, version text, the cached deviate of getGaussValue) must not run at
// the same time; all others may.
//
// Texts are zero-terminated. On Windows paths are in the process's ANSI code page, which is UTF-8 where the program's
// manifest says so; elsewhere they are bytes, as the file system has them. Calls ask the kit themselves, and the log
// does: a text that the kit lends until its next call is copied before it is passed on.

#include "QxUtils/Correction.h"
#include "QxUtils/Files.h"
#include "QxUtils/Foundation.h"
#include "QxUtils/Measures.h"
#include "QxUtils/Numerics.h"
#include "QxUtils/Quality.h"
#include "QxUtils/Records.h"
#include "QxUtils/StatusCode.h"
#include "QxUtils/Types.h"
