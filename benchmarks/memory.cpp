// What contexts and their states cost in memory, beside the sum of their parts. Every allocation is counted, as large
// as it was asked for. Writes JSON to standard output.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "support/host.h"

namespace {

struct Usage {
    std::size_t blocks = 0;
    std::size_t bytes = 0;
};

constinit Usage usage;

/// Each block begins with the size that was asked for: the C library's own record of it depends on what was freed
/// before.
constexpr std::size_t headerSize = alignof(std::max_align_t);

}  // namespace

void* operator new(std::size_t size) {
    auto* const block = static_cast<std::size_t*>(std::malloc(headerSize + size));
    if (!block) throw std::bad_alloc();
    *block = size;
    ++usage.blocks;
    usage.bytes += size;
    return reinterpret_cast<std::byte*>(block) + headerSize;
}

void operator delete(void* memory) noexcept {
    if (!memory) return;
    auto* const block = reinterpret_cast<std::size_t*>(static_cast<std::byte*>(memory) - headerSize);
    --usage.blocks;
    usage.bytes -= *block;
    std::free(block);
}

void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace bench {
namespace {

/// Counts what is allocated from its construction on.
class Count {
public:
    Usage taken() const { return {usage.blocks - m_start.blocks, usage.bytes - m_start.bytes}; }

private:
    const Usage m_start = usage;
};

void print(const char* what, std::size_t stateCount, const Usage& library, const Usage& parts) {
    static const char* separator = "";
    std::printf(
        "%s\n    {\"what\": \"%s\", \"states\": %zu, \"blocks\": %zu, \"bytes\": %zu, \"parts_blocks\": %zu, "
        "\"parts_bytes\": %zu}",
        separator, what, stateCount, library.blocks, library.bytes, parts.blocks, parts.bytes);
    separator = ",";
}

/// A store's own memory, with the table that grows as states come.
Usage usageOfStates(std::size_t stateCount, Context<Process>& process) {
    Context<Zarn> zarn(process);
    const ContextActivator activator(zarn);
    const Count count;
    fill<Zarn>(typeIDs<Zarn>(stateCount));
    return count.taken();
}

Usage usageOfParts(std::size_t stateCount) {
    floor::Store store;
    const Count count;
    for (const std::uint64_t id : typeIDs<Zarn>(stateCount))
        floor::insert(store, id, makeStaticState());
    return count.taken();
}

void printEmptyContexts() {
    const Count countProcess;
    Context<Process> process;
    const Usage ofProcess = countProcess.taken();
    const Count countZarn;
    Context<Zarn> zarn(process);
    const Usage ofZarn = countZarn.taken();
    const Count countWorkspace;
    const Context<Workspace> workspace(zarn);
    const Usage ofWorkspace = countWorkspace.taken();

    const Count countProcessParts;
    auto* const processParts = floor::create();
    const Usage ofProcessParts = countProcessParts.taken();
    const Count countZarnParts;
    auto* const zarnParts = floor::create(*processParts);
    const Usage ofZarnParts = countZarnParts.taken();
    const Count countWorkspaceParts;
    auto* const workspaceParts = floor::create(*zarnParts);
    const Usage ofWorkspaceParts = countWorkspaceParts.taken();
    floor::destroy(workspaceParts);
    floor::destroy(zarnParts);
    floor::destroy(processParts);

    print("empty Process context", 0, ofProcess, ofProcessParts);
    print("empty Zarn context", 0, ofZarn, ofZarnParts);
    print("empty Workspace context", 0, ofWorkspace, ofWorkspaceParts);
}

void printStates() {
    Context<Process> process;
    for (std::size_t stateCount = 1; stateCount <= maximumIDs; stateCount *= 10)
        print("states of a Zarn context", stateCount, usageOfStates(stateCount, process), usageOfParts(stateCount));
}

}  // namespace
}  // namespace bench

int main() {
    std::printf("{\"memory\": [");
    bench::printEmptyContexts();
    bench::printStates();
    std::printf("\n]}\n");
}
