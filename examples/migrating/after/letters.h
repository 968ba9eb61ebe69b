#pragma once

// Letters of several companies to their customers: the sample after its globals were moved.

#include <foundation/tav/scope.h>
#include <map>
#include <string>

namespace letters {

struct Settings {
    using StateScope = foundation::tav::scope::Process;
    std::string greeting = "Dear";
};

/// The one whose letters are written.
struct Company {
    using StateScope = foundation::tav::scope::Zarn;
    std::string name;
    int letters = 0;
};

/// The one who is written to.
struct Customer {
    using StateScope = foundation::tav::scope::Workspace;
    std::string name;
};

/// Counts what was written, from anywhere.
class Journal {
public:
    using StateScope = foundation::tav::scope::Process;
    static Journal& instance();

    void note() { ++m_lines; }
    int lines() const { return m_lines; }

private:
    int m_lines = 0;
};

using Format = std::string (*)(const std::string& text);

struct Formats {
    using StateScope = foundation::tav::scope::Process;
    std::map<std::string, Format> byName;
};

inline constexpr const char* defaultFormat = "plain";

/// Adds the formats that come with the program. Called once, when the Process context is there.
void registerFormats();

/// A letter to the customer, from the company.
std::string letter(const std::string& format);

}  // namespace letters
