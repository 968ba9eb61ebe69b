#include "record.h"

#include <charconv>
#include <chrono>
#include <system_error>

namespace timeline {

namespace {

// Takes fields off the front of a text; every function leaves it as it is where it doesn't fit.
class Scanner {
public:
    explicit Scanner(std::string_view text) : m_text(text) {}

    bool take(std::string_view expected) {
        if (!m_text.starts_with(expected)) return false;
        m_text.remove_prefix(expected.size());
        return true;
    }

    // So many digits and no sign.
    bool takeDigits(std::size_t count, int& value) {
        if (m_text.size() < count) return false;
        int number = 0;
        for (const char digit : m_text.substr(0, count)) {
            if (digit < '0' || digit > '9') return false;
            number = number * 10 + (digit - '0');
        }
        value = number;
        m_text.remove_prefix(count);
        return true;
    }

    template <class Number>
    bool takeNumber(Number& value, int base = 10) {
        const char* const begin = m_text.data();
        const auto [end, error] = std::from_chars(begin, begin + m_text.size(), value, base);
        if (error != std::errc()) return false;
        m_text.remove_prefix(static_cast<std::size_t>(end - begin));
        return true;
    }

    // As the library streams pointers: 0x and hexadecimal digits, or 0.
    bool takeAddress(Address& value) {
        value = 0;
        return take("0x") ? takeNumber(value, 16) : take("0");
    }

    // What stands before the separator, which is taken too.
    bool takeUntil(std::string_view separator, std::string_view& value) {
        const auto at = m_text.find(separator);
        if (at == std::string_view::npos) return false;
        value = m_text.substr(0, at);
        m_text.remove_prefix(at + separator.size());
        return true;
    }

    bool isAtEnd() const { return m_text.empty(); }
    std::string_view rest() const { return m_text; }

private:
    std::string_view m_text;
};

bool takeTime(Scanner& scanner, Time& time) {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int fraction = 0;
    const bool isWhole = scanner.takeDigits(4, year) && scanner.take("-") && scanner.takeDigits(2, month) &&
                         scanner.take("-") && scanner.takeDigits(2, day) && scanner.take("T") &&
                         scanner.takeDigits(2, hour) && scanner.take(":") && scanner.takeDigits(2, minute) &&
                         scanner.take(":") && scanner.takeDigits(2, second) && scanner.take(".") &&
                         scanner.takeDigits(6, fraction) && scanner.take("Z");
    if (!isWhole) return false;
    using namespace std::chrono;
    const year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                              std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) return false;
    const auto point = sys_days(date) + hours(hour) + minutes(minute) + seconds(second) + microseconds(fraction);
    time = duration_cast<microseconds>(point.time_since_epoch()).count();
    return true;
}

// The channel's name may hold anything, brackets too: it ends where a severity follows.
bool takeChannelAndSeverity(Scanner& scanner, Record& record) {
    const std::string_view text = scanner.rest();
    for (auto at = text.find("] "); at != std::string_view::npos; at = text.find("] ", at + 1)) {
        Scanner after(text.substr(at + 2));
        if (after.takeNumber(record.severity) && after.take(" ")) {
            record.channel = text.substr(0, at);
            scanner = after;
            return true;
        }
    }
    return false;
}

bool takeHeader(Scanner& scanner, Record& record) {
    return takeTime(scanner, record.time) && scanner.take(" ") && scanner.takeNumber(record.thread) &&
           record.thread != 0 && scanner.take(" [") && takeChannelAndSeverity(scanner, record);
}

bool takeContexts(Scanner& scanner, Push& contexts) {
    return scanner.take("  zarn=") && scanner.takeAddress(contexts.zarn) && scanner.take("  workspace=") &&
           scanner.takeAddress(contexts.workspace);
}

std::optional<Content> parsePush(Scanner scanner) {
    Push push;
    if (takeContexts(scanner, push) && scanner.isAtEnd()) return push;
    return std::nullopt;
}

std::optional<Content> parsePop(Scanner scanner) {
    Pop pop;
    if (takeContexts(scanner, pop.active) && scanner.take("  restoring") && takeContexts(scanner, pop.restored) &&
        scanner.isAtEnd()) {
        return pop;
    }
    return std::nullopt;
}

bool takeTypeKey(Scanner& scanner, TypeKey& key) {
    std::string_view scope;
    if (!scanner.take("  scope=") || !scanner.takeUntil("  id=", scope) || !scanner.takeNumber(key.id)) return false;
    key.scope = scopeOf(scope);
    return key.scope != Scope::unknown;
}

// The scope of a state whose context was freed before is not known to the library.
bool takeDeletedKey(Scanner& scanner, TypeKey& key) {
    return scanner.take("  scope=  id=") ? scanner.takeNumber(key.id) : takeTypeKey(scanner, key);
}

bool takeContext(Scanner& scanner, Address& context) {
    return scanner.take("  context=") && scanner.takeAddress(context);
}

std::optional<Content> parseTypeId(Scanner scanner) {
    TypeId id;
    if (!takeTypeKey(scanner, id.key) || !scanner.take("  type=") || scanner.isAtEnd()) return std::nullopt;
    id.type = scanner.rest();
    return id;
}

std::optional<Content> parseLateUse(Scanner scanner, bool isInsertion) {
    LateUse use;
    use.isInsertion = isInsertion;
    if (takeTypeKey(scanner, use.used) && takeContext(scanner, use.context) && scanner.take("  by") &&
        takeDeletedKey(scanner, use.deleted) && scanner.isAtEnd()) {
        return use;
    }
    return std::nullopt;
}

std::optional<Content> parseSlowDeletion(Scanner scanner) {
    SlowDeletion deletion;
    if (takeDeletedKey(scanner, deletion.deleted) && takeContext(scanner, deletion.context) &&
        scanner.take("  microseconds=") && scanner.takeNumber(deletion.took) && deletion.took >= 0 &&
        scanner.take("  limit=") && scanner.takeNumber(deletion.limit) && scanner.isAtEnd()) {
        return deletion;
    }
    return std::nullopt;
}

std::optional<Content> parseInformation(std::string_view message) {
    Scanner scanner(message);
    if (scanner.take("push context")) return parsePush(scanner);
    if (scanner.take("pop context")) return parsePop(scanner);
    if (scanner.take("getNextID")) return parseTypeId(scanner);
    if (scanner.take("late find")) return parseLateUse(scanner, false);
    if (scanner.take("late insert")) return parseLateUse(scanner, true);
    if (scanner.take("slow deletion")) return parseSlowDeletion(scanner);
    return std::nullopt;
}

// ` typeID=N`, ` typeID=N getName(type)=NAME this=ADDRESS` or ` this=ADDRESS`; a type's name may hold blanks.
bool parseDetails(Scanner scanner, Entry& entry) {
    if (scanner.take(" typeID=")) {
        entry.typeId.emplace();
        if (!scanner.takeNumber(*entry.typeId)) return false;
        if (scanner.isAtEnd()) return true;
        if (!scanner.take(" getName(type)=")) return false;
        const auto at = scanner.rest().rfind(" this=");
        if (at == std::string_view::npos) return false;
        entry.type = scanner.rest().substr(0, at);
        scanner = Scanner(scanner.rest().substr(at));
    }
    entry.context.emplace();
    return scanner.take(" this=") && scanner.takeAddress(*entry.context) && scanner.isAtEnd();
}

std::optional<Content> parseEntry(std::string_view message, Signatures& signatures) {
    Entry entry;
    const auto details = message.find("  ");
    entry.signature = &signatures.get(message.substr(0, details));
    if (entry.signature->isCutOff) return std::nullopt;
    const bool isKnown = entry.signature->kind != Kind::other;
    if (details != std::string_view::npos && isKnown && !parseDetails(Scanner(message.substr(details + 1)), entry)) {
        return std::nullopt;
    }
    return entry;
}

std::optional<Content> parseExit(std::string_view message, Signatures& signatures) {
    constexpr std::string_view mark = " [throw]";
    const bool isThrow = message.ends_with(mark);
    if (isThrow) message.remove_suffix(mark.size());
    const Signature& signature = signatures.get(message);
    if (signature.isCutOff) return std::nullopt;
    return Exit{&signature, isThrow};
}

std::optional<Content> parseError(std::string_view message) {
    Scanner scanner(message);
    if (scanner.take("Exception caught: ")) return CaughtException{scanner.rest()};
    Error error;
    if (!scanner.take("m_function=") || !scanner.takeUntil("  m_file=", error.function) ||
        !scanner.takeUntil("  m_message=", error.place)) {
        return std::nullopt;
    }
    error.message = scanner.rest();
    return error;
}

}  // namespace

std::optional<Record> parseRecord(std::string_view line) {
    Record record;
    Scanner scanner(line);
    if (!takeHeader(scanner, record)) return std::nullopt;
    // What was cut off within its channel has the next record for the rest of it.
    if (record.channel.find(" [") != std::string_view::npos && findLaterRecord(line)) return std::nullopt;
    while (scanner.take("  ")) {
        ++record.indentation;
    }
    record.message = scanner.rest();
    return record;
}

std::optional<std::size_t> findLaterRecord(std::string_view line) {
    // The 'T' between date and time is ten characters into a record.
    constexpr std::size_t dateLength = 10;
    for (auto at = line.rfind('T'); at != std::string_view::npos && at > dateLength; at = line.rfind('T', at - 1)) {
        Record record;
        Scanner scanner(line.substr(at - dateLength));
        if (takeHeader(scanner, record)) return at - dateLength;
    }
    return std::nullopt;
}

std::optional<Content> parseContent(const Record& record, Signatures& signatures) {
    if (record.channel != tavChannel) return OtherChannel{};
    if (record.message.empty()) return std::nullopt;
    switch (record.severity) {
        case 16:
            return parseInformation(record.message);
        case 32:
            return parseEntry(record.message, signatures);
        case 64:
            return parseExit(record.message, signatures);
        case 512:
            return parseError(record.message);
        default:
            return std::nullopt;
    }
}

}  // namespace timeline
