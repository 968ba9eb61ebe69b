#include <foundation/core/record.h>
#include <foundation/log/diagnostic_logger.h>
#include <atomic>
#include <boost/log/attributes/constant.hpp>
#include <utility>

namespace foundation::log {

namespace {

constinit std::atomic<unsigned> currentMask{0};

}  // namespace

void setMask(unsigned mask) { currentMask = mask; }

namespace detail {

void indent_attribute::increase() { foundation::core::record("indentation: increase to " + std::to_string(++m_depth)); }
void indent_attribute::decrease() { foundation::core::record("indentation: decrease to " + std::to_string(--m_depth)); }

std::string current_exception_chain_as_string() {
    foundation::core::record("current_exception_chain_as_string");
    return "the chain";
}

}  // namespace detail

template <class Char>
basic_diagnostic_logger<Char>::basic_diagnostic_logger(std::string channel)
    : m_channel(std::move(channel)), m_core(boost::log::core::get()) {
    foundation::core::record("logger made: " + m_channel);
    m_attributes.insert("Channel", boost::log::attributes::constant<std::string>("the host's " + m_channel));
}

template <class Char>
basic_diagnostic_logger<Char>::~basic_diagnostic_logger() {
    foundation::core::record("logger destroyed: " + m_channel);
}

template <class Char>
unsigned basic_diagnostic_logger<Char>::mask() const noexcept {
    foundation::core::record("mask");
    return currentMask;
}

template <class Char>
std::mutex& basic_diagnostic_logger<Char>::mutex() const {
    foundation::core::record("mutex");
    return m_mutex;
}

template <class Char>
boost::log::core_ptr const& basic_diagnostic_logger<Char>::core() const {
    foundation::core::record("core");
    return m_core;
}

template <class Char>
boost::log::attribute_set const& basic_diagnostic_logger<Char>::attributes() const {
    foundation::core::record("attributes");
    return m_attributes;
}

template <class Char>
detail::indent_attribute& basic_diagnostic_logger<Char>::indentation() {
    foundation::core::record("indentation");
    return m_indentation;
}

template class basic_diagnostic_logger<char>;

}  // namespace foundation::log
