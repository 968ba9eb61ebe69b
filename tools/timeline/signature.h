#pragma once

/// @file
/// The operations of the library that are traced, as the two compilers spell their signatures.

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace timeline {

enum class Scope : std::uint8_t { unknown, process, zarn, workspace };

/// "Process", "Zarn", "Workspace"; "Context" for the unknown one.
std::string_view scopeName(Scope scope);

/// From the scope tag's full name.
Scope scopeOf(std::string_view tag);

enum class Kind : std::uint8_t {
    create,         ///< the constructor of a context
    destruct,       ///< the destructor of a context
    destroy,        ///< the end of a context's states
    releaseParent,  ///< a context leaves its parent
    insert,
    findOrInsert,
    erase,
    eraseAll,
    deleteState,  ///< the deleter of one state
    other,        ///< one that this program doesn't know
};

struct Signature {
    Kind kind = Kind::other;
    Scope scope = Scope::unknown;       ///< of the context that it works on
    Scope stateScope = Scope::unknown;  ///< of the states that `eraseAll` deletes
    std::string name;                   ///< for users: `Workspace insert`
    bool isCutOff = false;              ///< an operation of a context whose scope can't be told
};

/// Takes signatures apart, each once: a trace repeats a few dozen.
class Signatures {
public:
    /// Stays where it is for as long as this lives.
    const Signature& get(std::string_view text);

private:
    std::map<std::string, Signature, std::less<>> m_signatures;
};

}  // namespace timeline
