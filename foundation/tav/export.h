#pragma once

/// @file
/// What the library exports and what stays hidden inside it. Users never set anything: a static build defines
/// `FOUNDATION_TAV_STATIC` through its CMake target.
///
/// - `FOUNDATION_TAV_EXPORT` marks the public interface.
/// - `FOUNDATION_TAV_LOCAL` marks the private records of exported classes.

#if defined(FOUNDATION_TAV_STATIC)
#define FOUNDATION_TAV_EXPORT
#define FOUNDATION_TAV_LOCAL
#elif defined(_WIN32)
#if defined(FOUNDATION_TAV_BUILDING)
#define FOUNDATION_TAV_EXPORT __declspec(dllexport)
#else
#define FOUNDATION_TAV_EXPORT __declspec(dllimport)
#endif
#define FOUNDATION_TAV_LOCAL
#else
#define FOUNDATION_TAV_EXPORT __attribute__((visibility("default")))
#define FOUNDATION_TAV_LOCAL __attribute__((visibility("hidden")))
#endif
