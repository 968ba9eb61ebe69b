#include "inspection.h"

#include "model.h"

#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

namespace foundation::tests::model {
namespace {

constexpr std::size_t indentation = 4;  // blanks per level of the text

std::string readContext(const nlohmann::json& context, const nlohmann::json& parent, std::size_t depth,
                        const StateNumbers& numbers) {
    if (context.at("parent") != parent) return "The parent is another one.\n";
    std::string lines =
        contextLine(depth, context.at("scope").get<std::string>(), context.at("state").get<std::string>(),
                    context.at("activations").get<std::uint64_t>(), context.at("isCurrent").get<bool>());
    for (const nlohmann::json& state : context.at("states"))
        lines +=
            storedLine(depth + 1, state.at("id").get<std::uint64_t>(), numbers(state.at("address").get<std::string>()));
    for (const nlohmann::json& child : context.at("children"))
        lines += readContext(child, context.at("address"), depth + 1, numbers);
    return lines;
}

/// `activation`: what the text has of it, such as "current on this thread".
std::string readContext(std::size_t depth, const std::string& scope, const std::string& state,
                        const std::string& activation) {
    static const std::regex counted("activated ([0-9]+) times?$");
    std::smatch count;
    const bool isCounted = std::regex_search(activation, count, counted);
    const std::uint64_t once = activation == "not current" ? 0 : 1;
    const bool isCurrent = scope == "Process" || activation.starts_with("current on this thread");
    return contextLine(depth, scope, state, isCounted ? std::stoull(count.str(1)) : once, isCurrent);
}

}  // namespace

std::string readText(const std::string& text, const StateNumbers& numbers) {
    static const std::regex contexts("( *)(Process|Zarn|Workspace) 0x[0-9a-f]+, ([a-z]+), (.*)");
    static const std::regex states("( *).+, id ([0-9]+), .+ at (0x[0-9a-f]+), deleter in .+");
    std::string lines;
    std::string line;
    for (std::istringstream stream(text); std::getline(stream, line);) {
        std::smatch part;
        if (std::regex_match(line, part, states))
            lines += storedLine(part.str(1).size() / indentation, std::stoull(part.str(2)), numbers(part.str(3)));
        else if (std::regex_match(line, part, contexts))
            lines += readContext(part.str(1).size() / indentation, part.str(2), part.str(3), part.str(4));
        else if (line != "No Process context is active.")
            lines += "What is this: " + line + '\n';
    }
    return lines;
}

std::string readJson(const std::string& json, const StateNumbers& numbers) {
    const nlohmann::json process = nlohmann::json::parse(json).at("process");
    return process.is_null() ? std::string() : readContext(process, nullptr, 0, numbers);
}

}  // namespace foundation::tests::model
