// Hands on the static library that is inside this shared one; OUTER is the function.

#include "part.h"

const foundation::tests::Part* OUTER() { return static_b_part(); }
