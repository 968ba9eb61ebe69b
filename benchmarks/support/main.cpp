#include <benchmark/benchmark.h>
#include <sys/single_threaded.h>
#include <cstdio>
#include <thread>

// The C library takes short cuts in mutexes and shared counts for as long as a process has never had a second thread.
// Hosts have threads: without one here the rows that lock or share would be flattered.
int main(int argc, char** argv) {
    std::thread([] {}).join();
    if (__libc_single_threaded) {
        std::fputs("The C library still takes its short cuts for one thread; the figures would mislead.\n", stderr);
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
