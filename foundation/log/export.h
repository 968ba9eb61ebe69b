#pragma once

/// @file
/// `FOUNDATION_LOG_EXPORT` marks what the library exports; everything else stays hidden inside it. Users never set
/// anything: a static build defines `FOUNDATION_LOG_STATIC` through its CMake target.

#if defined(FOUNDATION_LOG_STATIC)
#define FOUNDATION_LOG_EXPORT
#elif defined(_WIN32)
#if defined(FOUNDATION_LOG_BUILDING)
#define FOUNDATION_LOG_EXPORT __declspec(dllexport)
#else
#define FOUNDATION_LOG_EXPORT __declspec(dllimport)
#endif
#else
#define FOUNDATION_LOG_EXPORT __attribute__((visibility("default")))
#endif
