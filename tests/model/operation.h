#pragma once

/// @file
/// The operations of which random programs consist: every public operation of the library, and what the host around it
/// may do. Any byte string is a program, so that one form serves generators, fuzzers and files.

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <span>
#include <string_view>
#include <vector>

namespace foundation::tests::model {

enum class Scope : std::uint8_t { process, zarn, workspace };

enum class Verb : std::uint8_t {
    // Context<Scope>
    construct,
    move,
    free,
    activate,
    deactivate,
    shutdown,
    destroy,
    // Detail<Scope>; of the typed layer findOrCreate stands for findOrInsert, and typeID for getNextID
    find,
    findOrFail,
    findOrThrow,
    findOrInsert,
    insert,
    erase,
    eraseAll,
    getNextID,
    isRequiredContextActive,
    // ContextSet
    constructSet,
    moveSet,
    assignSet,
    freeSet,
    getActiveContexts,
    getPreviousContexts,
    // ContextActivator
    activateNothing,
    activateNull,
    activateContext,
    activateSet,
    deactivateActivator,
    freeActivator,
    // the host
    exchangeHandler,
    setTrace,
};

/// What is done, and in which scope where there is one for each.
struct Kind {
    Verb verb;
    Scope scope = Scope::process;

    friend constexpr bool operator==(const Kind&, const Kind&) = default;
};

inline constexpr auto kinds = std::to_array<Kind>({
    {Verb::construct, Scope::process},
    {Verb::construct, Scope::zarn},
    {Verb::construct, Scope::workspace},
    {Verb::move, Scope::process},
    {Verb::move, Scope::zarn},
    {Verb::move, Scope::workspace},
    {Verb::free, Scope::process},
    {Verb::free, Scope::zarn},
    {Verb::free, Scope::workspace},
    {Verb::activate},
    {Verb::deactivate},
    {Verb::shutdown, Scope::process},
    {Verb::shutdown, Scope::zarn},
    {Verb::shutdown, Scope::workspace},
    {Verb::destroy, Scope::process},
    {Verb::destroy, Scope::zarn},
    {Verb::destroy, Scope::workspace},
    {Verb::find, Scope::process},
    {Verb::find, Scope::zarn},
    {Verb::find, Scope::workspace},
    {Verb::findOrFail, Scope::process},
    {Verb::findOrFail, Scope::zarn},
    {Verb::findOrFail, Scope::workspace},
    {Verb::findOrThrow, Scope::process},
    {Verb::findOrThrow, Scope::zarn},
    {Verb::findOrThrow, Scope::workspace},
    {Verb::findOrInsert, Scope::process},
    {Verb::findOrInsert, Scope::zarn},
    {Verb::findOrInsert, Scope::workspace},
    {Verb::insert, Scope::process},
    {Verb::insert, Scope::zarn},
    {Verb::insert, Scope::workspace},
    {Verb::erase, Scope::process},
    {Verb::erase, Scope::zarn},
    {Verb::erase, Scope::workspace},
    {Verb::eraseAll, Scope::process},
    {Verb::eraseAll, Scope::zarn},
    {Verb::eraseAll, Scope::workspace},
    {Verb::getNextID, Scope::process},
    {Verb::getNextID, Scope::zarn},
    {Verb::getNextID, Scope::workspace},
    {Verb::isRequiredContextActive, Scope::process},
    {Verb::isRequiredContextActive, Scope::zarn},
    {Verb::isRequiredContextActive, Scope::workspace},
    {Verb::constructSet},
    {Verb::moveSet},
    {Verb::assignSet},
    {Verb::freeSet},
    {Verb::getActiveContexts},
    {Verb::getPreviousContexts},
    {Verb::activateNothing},
    {Verb::activateNull, Scope::zarn},
    {Verb::activateNull, Scope::workspace},
    {Verb::activateContext, Scope::zarn},
    {Verb::activateContext, Scope::workspace},
    {Verb::activateSet},
    {Verb::deactivateActivator},
    {Verb::freeActivator},
    {Verb::exchangeHandler},
    {Verb::setTrace},
});

inline constexpr int threadCount = 3;
inline constexpr std::array<int, 3> handleCounts = {3, 4, 4};  // by scope
inline constexpr int setCount = 3;
inline constexpr int activatorCount = 6;
inline constexpr int typeCount = 2;
inline constexpr int handlerCount = 2;

/// Whether the programs have allocation functions of their own. ThreadSanitizer keeps them to itself.
#if defined(FOUNDATION_MODEL_ALLOCATIONS_NEVER_FAIL)
inline constexpr bool canAllocationsFail = false;
#else
inline constexpr bool canAllocationsFail = true;
#endif

/// Through what the library's states are reached: by ids and `std::type_info`, any with any, or by types, which have
/// the ids that tables can have.
enum class Layer : std::uint8_t { bare, typed };

/// Whether the library records each call's deletions.
enum class Recording : std::uint8_t { off, on };

/// How a state comes to where it is stored: given by the caller, who keeps a refused `StatePtr` only, or constructed in
/// the call.
enum class Offer : std::uint8_t { statePtr, ptr, uniquePtr, nullPtr, construction };

/// Small, at both sides of the table's first growth, far beyond it; then such as no table can have, and no memory.
inline constexpr auto typeIDs = std::to_array<std::uint64_t>(
    {0, 1, 2, 1023, 1024, 5000, std::numeric_limits<std::uint64_t>::max(), std::uint64_t{1} << 50});
inline constexpr std::size_t storableIDs = 6;
inline constexpr std::size_t tooLargeID = storableIDs;
inline constexpr std::size_t unallocatableID = tooLargeID + 1;
inline constexpr std::size_t usableIDs = canAllocationsFail ? typeIDs.size() : unallocatableID;

/// Each severity alone, scopes with and without details, everything, and bits that are no severities.
inline constexpr auto traceMasks = std::to_array<unsigned>({0, 16, 32, 64, 96, 98, 512, 626, 0x7fff, 0xffff8002});

constexpr bool offersState(const Kind& kind) { return kind.verb == Verb::insert || kind.verb == Verb::findOrInsert; }

/// Those of the typed layer's inserts.
inline constexpr auto insertOffers =
    std::to_array({Offer::construction, Offer::ptr, Offer::uniquePtr, Offer::construction, Offer::ptr, Offer::nullPtr});

/// An operation with its operands, which are taken modulo what there is to choose from.
struct Call {
    Kind kind = kinds.front();
    std::uint8_t a = 0;
    std::uint8_t b = 0;

    friend bool operator==(const Call&, const Call&) = default;
};

/// One step of a program.
struct Operation {
    Call call;
    int thread = 0;                 ///< that makes the call, unless the objects of the call belong to one
    unsigned failingAllocation{};   ///< counted from 1 within the call; 0: none fails
    std::optional<Call> atDeath{};  ///< what the deleter of the offered state calls

    friend bool operator==(const Operation&, const Operation&) = default;
};

using Program = std::vector<Operation>;

/// The program that the bytes stand for.
Program decode(std::span<const std::uint8_t> bytes);

/// Bytes that stand for the program.
std::vector<std::uint8_t> encode(const Program& program);

std::string_view nameOf(Scope scope);  ///< "Zarn"
std::string_view nameOf(Verb verb);
std::string_view nameOf(Offer offer);

std::ostream& operator<<(std::ostream& stream, const Kind& kind);
std::ostream& operator<<(std::ostream& stream, const Call& call);
std::ostream& operator<<(std::ostream& stream, const Operation& operation);

}  // namespace foundation::tests::model
