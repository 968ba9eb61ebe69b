// Compiled into each part; PART is its function and PART_NAME its name.

#include "part.h"

namespace {

using foundation::tav::scope::Process;
using foundation::tav::scope::Workspace;
using foundation::tav::scope::Zarn;
using foundation::tests::Part;
using foundation::tests::Shared;

struct Unnamed {
    using StateScope = Zarn;
};

std::array<std::uint64_t, 3> ids() {
    using foundation::state::typeID;
    return {typeID<Shared<Process>>(), typeID<Shared<Zarn>>(), typeID<Shared<Workspace>>()};
}

std::array<const void*, 3> findOrCreate() {
    using foundation::state::findOrCreate;
    return {&findOrCreate<Shared<Process>>(), &findOrCreate<Shared<Zarn>>(), &findOrCreate<Shared<Workspace>>()};
}

std::array<const void*, 3> find() {
    using foundation::state::find;
    return {find<Shared<Process>>(), find<Shared<Zarn>>(), find<Shared<Workspace>>()};
}

std::uint64_t unnamedID() { return foundation::state::typeID<Unnamed>(); }

}  // namespace

const Part* PART() {
    static constexpr Part part{PART_NAME, &ids, &findOrCreate, &find, &unnamedID};
    return &part;
}
