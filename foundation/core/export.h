#pragma once

/// @file
/// `FOUNDATION_CORE_EXPORT` marks what the library exports; everything else stays hidden inside it. Users never set
/// anything: a static build defines `FOUNDATION_CORE_STATIC` through its CMake target.

#if defined(FOUNDATION_CORE_STATIC)
#define FOUNDATION_CORE_EXPORT
#elif defined(_WIN32)
#if defined(FOUNDATION_CORE_BUILDING)
#define FOUNDATION_CORE_EXPORT __declspec(dllexport)
#else
#define FOUNDATION_CORE_EXPORT __declspec(dllimport)
#endif
#else
#define FOUNDATION_CORE_EXPORT __attribute__((visibility("default")))
#endif
