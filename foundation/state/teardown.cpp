#include <foundation/state/detail/json.h>
#include <foundation/state/detail/registry.h>
#include <foundation/state/detail/text.h>
#include <foundation/state/teardown.h>
#include <foundation/tav/teardown.h>
#include <algorithm>
#include <iterator>
#include <locale>
#include <sstream>
#include <typeinfo>
#include <utility>
// What nlohmann's templates use:
// IWYU pragma: no_include <memory>

namespace foundation::state {
namespace {

using detail::addressJson;
using detail::addressText;
using detail::counted;
using detail::deleterText;
using detail::Json;
using detail::scopeName;
using tav::management::DeletionRecord;
using tav::management::LateUseRecord;
using tav::management::TeardownRecord;

std::string typeNameOf(const std::type_info* scope, std::uint64_t id) {
    return scope ? detail::Registry::instance().typeOf(*scope, id).name : detail::unknownName(id);
}

LateUse lateUseOf(const LateUseRecord& record) {
    return {typeNameOf(record.scope, record.typeID), record.typeID, scopeName(*record.scope), record.context,
            record.isInserted};
}

Deletion deletionOf(const DeletionRecord& record, const TeardownRecord& teardown) {
    Deletion deletion{.type = typeNameOf(record.scope, record.typeID),
                      .id = record.typeID,
                      .scope = record.scope ? scopeName(*record.scope) : "",
                      .context = record.context,
                      .address = record.address,
                      .module = record.module,
                      .thread = record.thread,
                      .depth = record.depth,
                      .begin = record.begin - teardown.start,
                      .duration = record.duration,
                      .isRunning = record.isRunning,
                      .isOverdue = record.duration > teardown.limit,
                      .lateUses = {}};
    std::transform(record.lateUses.begin(), record.lateUses.end(), std::back_inserter(deletion.lateUses), lateUseOf);
    return deletion;
}

TeardownReport reportOf(const TeardownRecord& teardown) {
    TeardownReport report{teardown.limit, {}, teardown.lost};
    for (const DeletionRecord& record : teardown.deletions)
        report.deletions.push_back(deletionOf(record, teardown));
    return report;
}

/// In milliseconds, to the microsecond.
std::string durationText(std::chrono::nanoseconds duration) {
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
    const std::string fraction = std::to_string(1000 + microseconds % 1000);
    return std::to_string(microseconds / 1000) + "." + fraction.substr(1) + " ms";
}

std::string placeText(const std::string& scope, const void* context) {
    if (scope.empty()) return " of a destroyed context";
    return " of " + (context ? scope + " " + addressText(context) : "a " + scope + " context");
}

std::string headingOf(const TeardownReport& report) {
    const auto overdue = std::count_if(report.deletions.begin(), report.deletions.end(),
                                       [](const Deletion& deletion) { return deletion.isOverdue; });
    std::size_t lateUses = 0;
    for (const Deletion& deletion : report.deletions)
        lateUses += deletion.lateUses.size();
    return counted(report.deletions.size(), "deletion") + ", " + std::to_string(overdue) + " over the limit of " +
           durationText(report.limit) + ", " + counted(lateUses, "late use");
}

std::string lineOf(const Deletion& deletion) {
    return deletion.type + ", id " + std::to_string(deletion.id) + "," + placeText(deletion.scope, deletion.context) +
           (deletion.isRunning ? ": running for " : ": ") + durationText(deletion.duration) +
           (deletion.isOverdue ? ", over the limit, " : ", ") + deleterText(deletion.module);
}

std::string lineOf(const LateUse& use) {
    const std::string state = use.type + placeText(use.scope, use.context);
    return use.isInserted ? "made " + state + " anew, which was gone" : "looked for " + state + ", which was gone";
}

std::string textOf(std::thread::id thread) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << thread;
    return text.str();
}

Json jsonOf(const LateUse& use) {
    return {{"type", use.type},
            {"id", use.id},
            {"scope", use.scope},
            {"context", addressJson(use.context)},
            {"isInserted", use.isInserted}};
}

Json jsonOf(const Deletion& deletion) {
    Json lateUses = Json::array();
    for (const LateUse& use : deletion.lateUses)
        lateUses.push_back(jsonOf(use));
    return {{"type", deletion.type},
            {"id", deletion.id},
            {"scope", deletion.scope.empty() ? Json() : Json(deletion.scope)},
            {"context", addressJson(deletion.context)},
            {"address", addressText(deletion.address)},
            {"module", deletion.module},
            {"thread", textOf(deletion.thread)},
            {"depth", deletion.depth},
            {"beginNanoseconds", deletion.begin.count()},
            {"durationNanoseconds", deletion.duration.count()},
            {"isRunning", deletion.isRunning},
            {"isOverdue", deletion.isOverdue},
            {"lateUses", std::move(lateUses)}};
}

}  // namespace

TeardownReport teardownReport() { return reportOf(tav::management::recordedTeardown()); }

TeardownReport overdueDeletions() { return reportOf(tav::management::overdueDeletions()); }

void writeText(std::ostream& out, const TeardownReport& report) {
    out << headingOf(report) << '\n';
    for (const Deletion& deletion : report.deletions) {
        const std::string indentation(4 * deletion.depth, ' ');
        out << indentation << lineOf(deletion) << '\n';
        for (const LateUse& use : deletion.lateUses)
            out << indentation << "    " << lineOf(use) << '\n';
    }
    if (report.lost > 0) out << "incomplete: memory was wanting " << counted(report.lost, "time") << '\n';
}

void writeJson(std::ostream& out, const TeardownReport& report) {
    Json deletions = Json::array();
    for (const Deletion& deletion : report.deletions)
        deletions.push_back(jsonOf(deletion));
    detail::write(
        out, {{"limitNanoseconds", report.limit.count()}, {"lost", report.lost}, {"deletions", std::move(deletions)}});
}

}  // namespace foundation::state
