// Makes and destroys a Zarn context with one state, again and again, and watches the memory of the process. Writes JSON
// to standard output; fails if the heap is not as it was.
//
// rounds [NUMBER], 10 million by default

#include <malloc.h>
#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "support/host.h"

namespace bench {
namespace {

void makeAndDestroy(Context<Process>& process) {
    Context<Zarn> zarn(process);
    const ContextActivator activator(zarn);
    Detail<Zarn>::insert(typeIDs<Zarn>(1)[0], stateType, makeState());
}

std::size_t heapBytes() { return mallinfo2().uordblks; }

std::size_t residentBytes() {
    std::size_t total = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

void print(std::size_t rounds, double nanoseconds) {
    std::printf("%s\n    {\"rounds\": %zu, \"ns_per_round\": %.1f, \"heap_bytes\": %zu, \"resident_bytes\": %zu}",
                rounds == 0 ? "" : ",", rounds, nanoseconds, heapBytes(), residentBytes());
}

bool run(std::size_t rounds) {
    constexpr std::size_t samples = 50;
    Context<Process> process;
    makeAndDestroy(process);
    print(0, 0);  // also takes what printing takes
    const std::size_t before = heapBytes();
    for (std::size_t sample = 1; sample <= samples; ++sample) {
        const std::size_t batch = rounds / samples;
        const double seconds = secondsOf([&] {
            for (std::size_t round = 0; round < batch; ++round)
                makeAndDestroy(process);
        });
        print(sample * batch, seconds * 1e9 / static_cast<double>(batch));
    }
    return heapBytes() == before;
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
    const std::size_t rounds = argc > 1 ? std::stoull(argv[1]) : 10'000'000;
    std::printf("{\"rounds\": [");
    const bool isFlat = bench::run(rounds);
    std::printf("\n]}\n");
    if (!isFlat) std::fputs("The heap has grown.\n", stderr);
    return isFlat ? EXIT_SUCCESS : EXIT_FAILURE;
}
