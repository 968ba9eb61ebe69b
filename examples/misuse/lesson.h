#pragma once

#include <string_view>
#include <vector>

namespace misuse {

/// A mistake that the library reports or throws for, and the same done right. docs/messages shows both functions; a
/// test keeps what it shows and what is here the same.
struct Lesson {
    std::string_view name;
    void (*mistake)();
    void (*remedy)();
};

std::vector<Lesson>& lessons();

/// Done by the initialiser of a static variable, so that each lesson is a file of its own that nothing else names.
bool add(const Lesson& lesson);

}  // namespace misuse
