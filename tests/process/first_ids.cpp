// The first id of each scope is 0 and the next 1, from before main on and without any context.

#include <foundation/tav/detail.h>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace foundation::tav;

const std::uint64_t firstProcessID = Detail<scope::Process>::getNextID(typeid(int));

bool isAsExpected = true;

void expectID(const char* scope, std::uint64_t id, std::uint64_t expected) {
    if (id == expected) return;
    isAsExpected = false;
    std::fprintf(stderr, "%s: id %" PRIu64 " instead of %" PRIu64 "\n", scope, id, expected);
}

}  // namespace

int main() {
    expectID("Process", firstProcessID, 0);
    expectID("Process", Detail<scope::Process>::getNextID(typeid(long)), 1);
    expectID("Zarn", Detail<scope::Zarn>::getNextID(typeid(int)), 0);
    expectID("Zarn", Detail<scope::Zarn>::getNextID(typeid(int)), 1);
    expectID("Workspace", Detail<scope::Workspace>::getNextID(typeid(int)), 0);
    expectID("Workspace", Detail<scope::Workspace>::getNextID(typeid(int)), 1);
    expectID("Process", Detail<scope::Process>::getNextID(typeid(int)), 2);
    return isAsExpected ? EXIT_SUCCESS : EXIT_FAILURE;
}
