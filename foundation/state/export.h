#pragma once

/// @file
/// What the library exports, and what each module has for itself. Users never set anything: a static build defines
/// `FOUNDATION_STATE_STATIC` through its CMake target.
///
/// - `FOUNDATION_STATE_EXPORT` marks the public interface.
/// - `FOUNDATION_STATE_LOCAL` marks templates that are compiled into the modules that use them: hidden in each module,
///   whatever visibility that is built with. So none runs or reads what lies in another that may be unloaded, and the
///   loader has no symbol to pin a module for.

#if defined(_WIN32)
#define FOUNDATION_STATE_LOCAL
#else
#define FOUNDATION_STATE_LOCAL __attribute__((visibility("hidden")))
#endif

#if defined(FOUNDATION_STATE_STATIC)
#define FOUNDATION_STATE_EXPORT
#elif defined(_WIN32)
#if defined(FOUNDATION_STATE_BUILDING)
#define FOUNDATION_STATE_EXPORT __declspec(dllexport)
#else
#define FOUNDATION_STATE_EXPORT __declspec(dllimport)
#endif
#else
#define FOUNDATION_STATE_EXPORT __attribute__((visibility("default")))
#endif
