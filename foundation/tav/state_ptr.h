#pragma once

/// @file
/// How a state object is owned: by its address and the function that deletes it.

#include <memory>

namespace foundation::tav {

/// Deletes the state object at the address given.
///
/// REQUIRES: not null in a `StatePtr` that owns an object; lets no exception out (one that escapes ends the process
/// through `std::terminate`).
///
/// Deleters are never called while a context is locked, so a deleter may call every operation of the library that its
/// thread could call anyway.
using StateDeleter = void (*)(void*);

/// The owning, type-erased pointer to one stored state object; empty means no object.
///
/// Example:
/// @code
/// StatePtr state(new Selection, [](void* selection) { delete static_cast<Selection*>(selection); });
/// @endcode
using StatePtr = std::unique_ptr<void, StateDeleter>;

}  // namespace foundation::tav
