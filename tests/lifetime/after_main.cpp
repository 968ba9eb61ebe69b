// Static destructors of a program may use the library, whatever the link order and whatever was used before.

#include "lifetime.h"

namespace {

struct User {
    ~User() { foundation::tests::useEverything("destructor"); }
};

const User user;

}  // namespace

int main() { foundation::tests::useEverything("main"); }
