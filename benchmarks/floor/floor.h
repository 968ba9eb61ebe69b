#pragma once

/// @file
/// The floors: what the operations measured would cost if each were written by hand for the one purpose, with no more
/// than the work itself. They are a shared library where the library measured is one, compiled with its flags.
///
/// The lookups and the state operations take the parameters of the operations measured: the calling convention is the
/// interface's, and no part of the work.

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <typeinfo>

#include "export.h"
#include "store.h"

namespace bench::floor {

struct ProcessContext {
    // User-provided: the memory is not zeroed before the members are initialised.
    ProcessContext() {}  // NOLINT(modernize-use-equals-default): see above

    std::mutex mutex;  // of everything below
    Link children;
    Store store;
};

struct ZarnContext : Link, std::enable_shared_from_this<ZarnContext> {
    explicit ZarnContext(std::shared_ptr<ProcessContext> sharedParent) : parent(std::move(sharedParent)) {}

    Store store;
    std::shared_ptr<ProcessContext> parent;
    Link children;
    std::uint64_t activations = 0;
};

struct WorkspaceContext : Link, std::enable_shared_from_this<WorkspaceContext> {
    explicit WorkspaceContext(std::shared_ptr<ZarnContext> sharedParent) : parent(std::move(sharedParent)) {}

    Store store;
    std::shared_ptr<ZarnContext> parent;
    std::uint64_t activations = 0;
};

/// What a handle owns: the first of a context's two allocations.
template <class Context>
struct Record {
    std::shared_ptr<Context> context;
};

// ---------------------------------------------------------------------------------------------------------------------
// Contexts: two allocations each, and the link in the parent's list, which for a Process context its mutex guards.

BENCH_FLOOR_EXPORT Record<ProcessContext>* create();
BENCH_FLOOR_EXPORT Record<ZarnContext>* create(Record<ProcessContext>& parent);
BENCH_FLOOR_EXPORT Record<WorkspaceContext>* create(Record<ZarnContext>& parent);
BENCH_FLOOR_EXPORT void destroy(Record<ProcessContext>* record);
BENCH_FLOOR_EXPORT void destroy(Record<ZarnContext>* record);
BENCH_FLOOR_EXPORT void destroy(Record<WorkspaceContext>* record);

/// Frees the states, newest first. The list is the plainest home that they could have: nobody looks them up meanwhile.
BENCH_FLOOR_EXPORT void destroyAll(std::list<State>& states);

// ---------------------------------------------------------------------------------------------------------------------
// Activation: one allocation, the shares copied and released, and the slots that it is all about.

struct Activation;
BENCH_FLOOR_EXPORT Activation* push(Record<ZarnContext>& record);
BENCH_FLOOR_EXPORT Activation* push(Record<WorkspaceContext>& record);
BENCH_FLOOR_EXPORT void pop(Activation* activation);

/// The Process context that `findInProcess` and its like work on.
BENCH_FLOOR_EXPORT void setActive(Record<ProcessContext>* record);

/// The context that `findInitialExec` works on; `push` leaves it alone, so that its own cost is that of two slots.
BENCH_FLOOR_EXPORT void setCurrentInitialExec(Record<ZarnContext>* record);

// ---------------------------------------------------------------------------------------------------------------------
// State operations

/// Thread-local pointer read, bounds test, array read. The thread-local access model is the compiler flags'.
BENCH_FLOOR_EXPORT State* find(std::uint64_t id, const std::type_info& type);
BENCH_FLOOR_EXPORT State* findInWorkspace(std::uint64_t id, const std::type_info& type);

/// The same with the model that a library loaded with its program can use, whatever the flags.
BENCH_FLOOR_EXPORT State* findInitialExec(std::uint64_t id, const std::type_info& type);

/// The same between the locking and unlocking of a mutex.
BENCH_FLOOR_EXPORT State* findInProcess(std::uint64_t id, const std::type_info& type);

BENCH_FLOOR_EXPORT State& insert(std::uint64_t id, const std::type_info& type, State&& state);
BENCH_FLOOR_EXPORT bool erase(std::uint64_t id, const std::type_info& type);
BENCH_FLOOR_EXPORT State& insertInProcess(std::uint64_t id, const std::type_info& type, State&& state);
BENCH_FLOOR_EXPORT bool eraseInProcess(std::uint64_t id, const std::type_info& type);

/// A scan of the current Zarn context's table.
BENCH_FLOOR_EXPORT bool isAnyTaken();

/// A store that is nobody's current one.
BENCH_FLOOR_EXPORT State& insert(Store& store, std::uint64_t id, State&& state);
BENCH_FLOOR_EXPORT bool erase(Store& store, std::uint64_t id);

/// The context of `findInline`.
inline constinit thread_local ZarnContext* currentInline = nullptr;

/// `find` as part of the program that calls it.
inline State* findInline(std::uint64_t id, const std::type_info&) { return currentInline->store.find(id); }

// ---------------------------------------------------------------------------------------------------------------------
// Trace

/// A number from a counter.
BENCH_FLOOR_EXPORT std::uint64_t nextID(const std::type_info& type);

/// The same with a masked trace point: the load of the mask, the test.
BENCH_FLOOR_EXPORT std::uint64_t nextIDTraced(const std::type_info& type);

/// The entry record and the exit record of a call, written with Boost.Log's own macro: severities 32 and 64, the
/// attributes `Severity`, `Channel` and `Indentation`.
BENCH_FLOOR_EXPORT void recordCall(const char* signature, std::uint64_t id, const std::type_info& type,
                                   const void* context);

}  // namespace bench::floor
