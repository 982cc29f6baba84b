#pragma once

// QxUtils: image processing and utilities of the flat-panel detector kit.
//
// Flat functions over pixel buffers (row-major, width before height) and file names. Every call runs to its end on
// the caller's thread, of whose stack it needs 32 KiB at most, what the kit takes aside; larger buffers come from the
// heap. The caller owns every buffer it passes. Failures are status codes (StatusCode.h).
//
// Several threads may be inside the library at the same time:
//
//   functions                               | at the same time
//   ----------------------------------------|--------------------------------------------------------------------------
//   all that are not named below            | yes, on different data: no call uses a buffer, a list or a file that
//                                           | another one writes
//   getGaussValue                           | no two calls: they share a deviate, and rand()
//   correctAedStripeClinic                  | no two calls: they share the largest gray value
//   setLogLevel, setUtilDebug               | yes; the last call counts, for all threads, also for calls under way
//   executeNDTCAL                           | yes, beside correctNDTImage too, which finds the old file or the new one,
//                                           | where files are replaced (writeImageToDisk); the last call's files stay
//   retrieveAllSNRForQualityCheck           | no two calls for one directory: they write the same file
//   correctNDTImage                         | yes; no two calls while the configuration asks for Corrected.raw
//   recordAedTrainStepInfo, all that log    | yes; records and log lines stay whole, their order is open
//   all that print on standard output       | yes; their lines may come between each other
//
// The kit's libraries are called from the same threads, so a host with several needs a kit that allows for it: its
// functions run at the same time; a text or number that it points to stays until the same thread calls it again; nobody
// changes the configuration record meanwhile; a file that it transfers appears whole in its place, and two transfers of
// one file both succeed.
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
