// Static initialisers of a program may use the library, whatever the link order.

#include "lifetime.h"

namespace {

struct User {
    User() { foundation::tests::useEverything("initialiser"); }
};

const User user;

}  // namespace

int main() { foundation::tests::useEverything("main"); }
