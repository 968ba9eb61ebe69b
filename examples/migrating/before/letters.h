#pragma once

// Letters of several companies to their customers: the sample before its globals are moved.

#include <map>
#include <string>

namespace letters {

struct Settings {
    std::string greeting = "Dear";
};

struct Company {
    std::string name;
    int letters = 0;
};

struct Customer {
    std::string name;
};

/// Counts what was written, from anywhere.
class Journal {
public:
    static Journal& instance();

    void note() { ++m_lines; }
    int lines() const { return m_lines; }

private:
    int m_lines = 0;
};

using Format = std::string (*)(const std::string& text);

extern Settings settings;
extern Company* company;                       // the one whose letters are written
extern thread_local const Customer* customer;  // the one who is written to
extern std::map<std::string, Format> formats;  // filled by static initialisers
inline constexpr const char* defaultFormat = "plain";

/// A letter to the customer, from the company.
std::string letter(const std::string& format);

}  // namespace letters
