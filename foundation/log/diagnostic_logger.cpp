#include <foundation/log/diagnostic_logger.h>

#include <algorithm>
#include <boost/log/attributes/attribute_value.hpp>
#include <boost/log/attributes/attribute_value_impl.hpp>
#include <boost/log/attributes/constant.hpp>
#include <boost/log/attributes/function.hpp>
#include <boost/log/sources/severity_feature.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <system_error>
#include <utility>

namespace foundation::log {

namespace {

constexpr unsigned defaultMask = 512;

// The masks of all channels ever named. A mask stays at its address, since loggers read it there without a lock.
class MaskRegistry {
public:
    MaskRegistry() {
        const char* const pairs = std::getenv("FOUNDATION_LOG_MASK");  // NOLINT(concurrency-mt-unsafe): once
        if (pairs) readPairs(pairs);
    }

    std::atomic<unsigned>& mask(std::string_view channel) {
        const std::lock_guard lock(m_mutex);
        return maskNoLock(channel);
    }

private:
    std::atomic<unsigned>& maskNoLock(std::string_view channel) {
        const auto found = m_masks.find(channel);
        if (found != m_masks.end()) return found->second;
        return m_masks.try_emplace(std::string(channel), defaultMask).first->second;
    }

    void readPairs(std::string_view pairs);
    void readPair(std::string_view pair);

    std::mutex m_mutex;
    std::map<std::string, std::atomic<unsigned>, std::less<>> m_masks;
};

// Written with the C library: loggers are constructed by static initialisers, maybe before std::cerr is.
void reportIgnoredPair(std::string_view pair, const char* reason) {
    std::string printable(pair);
    std::replace_if(
        printable.begin(), printable.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    std::fprintf(stderr,
                 "FOUNDATION_LOG_MASK: '%s' is ignored: %s; expected channel=mask, the mask decimal or 0x hexadecimal "
                 "and at most 0xffffffff\n",
                 printable.c_str(), reason);
}

std::errc parseMask(std::string_view text, unsigned& mask) {
    const bool hexadecimal = text.starts_with("0x");
    if (hexadecimal) text.remove_prefix(2);
    const char* const end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, mask, hexadecimal ? 16 : 10);
    return error == std::errc() && parsed != end ? std::errc::invalid_argument : error;
}

void MaskRegistry::readPairs(std::string_view pairs) {
    while (!pairs.empty()) {
        const std::string_view pair = pairs.substr(0, pairs.find(';'));
        if (!pair.empty()) readPair(pair);
        pairs.remove_prefix(std::min(pair.size() + 1, pairs.size()));
    }
}

void MaskRegistry::readPair(std::string_view pair) {
    const auto equals = pair.find('=');
    if (equals == std::string_view::npos) return reportIgnoredPair(pair, "there is no '='");
    if (equals == 0) return reportIgnoredPair(pair, "the channel is empty");
    const std::string_view text = pair.substr(equals + 1);
    if (text.empty()) return reportIgnoredPair(pair, "the mask is empty");
    unsigned mask = 0;
    const std::errc error = parseMask(text, mask);
    if (error == std::errc::result_out_of_range) return reportIgnoredPair(pair, "the mask is too large");
    if (error != std::errc()) return reportIgnoredPair(pair, "the mask is no such number");
    maskNoLock(pair.substr(0, equals)).store(mask, std::memory_order_relaxed);
}

// Leaked on purpose: static destructors of other libraries may still log.
MaskRegistry& maskRegistry() {
    static MaskRegistry& registry = *new MaskRegistry;
    return registry;
}

constinit thread_local unsigned indentationDepth = 0;

class IndentationSource : public boost::log::attribute::impl {
public:
    boost::log::attribute_value get_value() override {
        return boost::log::attributes::make_attribute_value(indentationDepth);
    }
};

// Boost.Log's own severity attribute reads the thread's slot whenever a sink asks; a record that is pushed later would
// show the severity of another. This one reads it when the record is opened.
unsigned currentSeverity() { return static_cast<unsigned>(boost::log::sources::aux::get_severity_level()); }

}  // namespace

namespace detail {

indent_attribute::indent_attribute() : attribute(new IndentationSource) {}

// The depth is the thread's and no attribute's, but that is nothing that callers should write down.
// NOLINTNEXTLINE(readability-convert-member-functions-to-static): see above
void indent_attribute::increase() noexcept { ++indentationDepth; }

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): see above
void indent_attribute::decrease() noexcept {
    if (indentationDepth > 0) --indentationDepth;
}

}  // namespace detail

template <class Char>
basic_diagnostic_logger<Char>::basic_diagnostic_logger(std::string channel)
    : m_mask(&maskRegistry().mask(channel)), m_core(boost::log::core::get()) {
    m_attributes.insert("Severity", boost::log::attributes::make_function(&currentSeverity));
    m_attributes.insert("Channel", boost::log::attributes::constant<std::string>(std::move(channel)));
    m_attributes.insert("Indentation", m_indentation);
}

template <class Char>
basic_diagnostic_logger<Char>::~basic_diagnostic_logger() = default;

template class basic_diagnostic_logger<char>;

void set_severity_mask(std::string_view channel, unsigned mask) {
    maskRegistry().mask(channel).store(mask, std::memory_order_relaxed);
}

unsigned severity_mask(std::string_view channel) {
    return maskRegistry().mask(channel).load(std::memory_order_relaxed);
}

}  // namespace foundation::log
