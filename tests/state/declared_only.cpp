#include "declared_only.h"

namespace foundation::tests {

namespace {

int living = 0;

}  // namespace

struct Opaque {
    explicit Opaque(int value) : number(value) { ++living; }
    Opaque(const Opaque&) = delete;
    Opaque& operator=(const Opaque&) = delete;
    ~Opaque() { --living; }

    int number;
};

state::Ptr<Opaque> makeOpaque(int number) { return state::make<Opaque>(number); }
int numberOf(const Opaque& opaque) { return opaque.number; }
int livingOpaques() { return living; }
std::uint64_t idWhereDefined() { return state::typeID<Opaque>(); }

}  // namespace foundation::tests
