#pragma once

#include <boost/log/attributes/attribute.hpp>
#include <boost/log/attributes/attribute_set.hpp>
#include <boost/log/core/core.hpp>
#include <mutex>
#include <string>

namespace foundation::log {

namespace detail {

class indent_attribute {
public:
    void increase();
    void decrease();

private:
    int m_depth = 0;  // of all threads: the program that records traces on one
};

std::string current_exception_chain_as_string();

}  // namespace detail

template <class Char>
class basic_diagnostic_logger {
public:
    explicit basic_diagnostic_logger(std::string channel);
    ~basic_diagnostic_logger();

    unsigned mask() const noexcept;
    std::mutex& mutex() const;
    boost::log::core_ptr const& core() const;
    boost::log::attribute_set const& attributes() const;
    detail::indent_attribute& indentation();

private:
    std::string m_channel;
    mutable std::mutex m_mutex;
    boost::log::core_ptr m_core;
    detail::indent_attribute m_indentation;
    boost::log::attribute_set m_attributes;
};

using diagnostic_logger = basic_diagnostic_logger<char>;

/// The mask of every logger of this host.
void setMask(unsigned mask);

}  // namespace foundation::log
