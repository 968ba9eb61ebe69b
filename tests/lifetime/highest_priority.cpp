// With shared libraries even the first static initialiser of a program and its last static destructor may use the
// library. (With static ones objects of this priority may come before the library's own.)

#include "lifetime.h"

namespace {

struct User {
    User() { foundation::tests::useEverything("initialiser"); }
    ~User() { foundation::tests::useEverything("destructor"); }
    User(const User&) = delete;
    User& operator=(const User&) = delete;
};

[[gnu::init_priority(101)]] const User user;

}  // namespace

int main() { foundation::tests::useEverything("main"); }
