#include "operation.h"

#include <algorithm>

namespace foundation::tests::model {
namespace {

// Of the last byte of an operation, most values mean that no allocation fails: that is the common case.
constexpr unsigned firstFailing = 192;

/// Reads bytes, and zeros after the last of them.
class Reader {
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : m_rest(bytes) {}

    bool isAtEnd() const { return m_rest.empty(); }

    std::uint8_t next() {
        if (m_rest.empty()) return 0;
        const std::uint8_t byte = m_rest.front();
        m_rest = m_rest.subspan(1);
        return byte;
    }

private:
    std::span<const std::uint8_t> m_rest;
};

std::uint8_t indexOf(const Kind& kind) {
    return static_cast<std::uint8_t>(std::find(kinds.begin(), kinds.end(), kind) - kinds.begin());
}

Call callOf(std::uint8_t kind, Reader& reader) {
    Call call{.kind = kinds[kind % kinds.size()]};
    call.a = reader.next();
    call.b = reader.next();
    return call;
}

Operation nextOperation(Reader& reader) {
    Operation operation;
    operation.call = callOf(reader.next(), reader);
    operation.thread = reader.next() % threadCount;
    const unsigned failing = reader.next();
    operation.failingAllocation = failing < firstFailing ? 0 : failing - firstFailing + 1;
    if (!offersState(operation.call.kind)) return operation;
    const std::uint8_t atDeath = reader.next();
    if (atDeath > 0 && atDeath <= kinds.size())
        operation.atDeath = callOf(static_cast<std::uint8_t>(atDeath - 1), reader);
    return operation;
}

void append(std::vector<std::uint8_t>& bytes, const Call& call) {
    bytes.insert(bytes.end(), {indexOf(call.kind), call.a, call.b});
}

}  // namespace

Program decode(std::span<const std::uint8_t> bytes) {
    Program program;
    for (Reader reader(bytes); !reader.isAtEnd();)
        program.push_back(nextOperation(reader));
    return program;
}

std::vector<std::uint8_t> encode(const Program& program) {
    std::vector<std::uint8_t> bytes;
    for (const Operation& operation : program) {
        append(bytes, operation.call);
        bytes.push_back(static_cast<std::uint8_t>(operation.thread));
        const unsigned failing = operation.failingAllocation;
        bytes.push_back(failing == 0 ? std::uint8_t{0} : static_cast<std::uint8_t>(failing + firstFailing - 1));
        if (!offersState(operation.call.kind)) continue;
        if (!operation.atDeath) {
            bytes.push_back(0);
            continue;
        }
        const std::size_t atDeath = bytes.size();
        append(bytes, *operation.atDeath);
        ++bytes[atDeath];  // 0 stands for nothing
    }
    return bytes;
}

std::string_view nameOf(Scope scope) {
    static constexpr std::array<std::string_view, 3> names = {"Process", "Zarn", "Workspace"};
    return names[static_cast<std::size_t>(scope)];
}

std::string_view nameOf(Verb verb) {
    static constexpr auto names = std::to_array<std::string_view>({
        "construct",
        "move",
        "free",
        "activate",
        "deactivate",
        "shutdown",
        "destroy",
        "find",
        "findOrFail",
        "findOrThrow",
        "findOrInsert",
        "insert",
        "erase",
        "eraseAll",
        "getNextID",
        "isRequiredContextActive",
        "constructSet",
        "moveSet",
        "assignSet",
        "freeSet",
        "getActiveContexts",
        "getPreviousContexts",
        "activateNothing",
        "activateNull",
        "activateContext",
        "activateSet",
        "deactivateActivator",
        "freeActivator",
        "exchangeHandler",
        "setTrace",
    });
    return names[static_cast<std::size_t>(verb)];
}

std::string_view nameOf(Offer offer) {
    static constexpr auto names =
        std::to_array<std::string_view>({"StatePtr", "Ptr", "unique_ptr", "null", "construction"});
    return names[static_cast<std::size_t>(offer)];
}

std::ostream& operator<<(std::ostream& stream, const Kind& kind) {
    stream << nameOf(kind.verb);
    if (std::count_if(kinds.begin(), kinds.end(), [&](const Kind& other) { return other.verb == kind.verb; }) > 1)
        stream << '<' << nameOf(kind.scope) << '>';
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const Call& call) {
    return stream << call.kind << '(' << unsigned{call.a} << ", " << unsigned{call.b} << ')';
}

std::ostream& operator<<(std::ostream& stream, const Operation& operation) {
    stream << "thread " << operation.thread << ": " << operation.call;
    if (operation.failingAllocation > 0) stream << ", allocation " << operation.failingAllocation << " fails";
    if (operation.atDeath) stream << ", at death " << *operation.atDeath;
    return stream;
}

}  // namespace foundation::tests::model
