#pragma once

/// @file
/// `BENCH_FLOOR_EXPORT` marks what the library of the floors exports, as the library measured marks its own.

#if defined(BENCH_FLOOR_STATIC)
#define BENCH_FLOOR_EXPORT
#else
#define BENCH_FLOOR_EXPORT __attribute__((visibility("default")))
#endif
