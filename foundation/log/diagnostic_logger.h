#pragma once

/// @file
/// `diagnostic_logger`: the source of the diagnostic records of one channel, and the severity masks by which channels
/// are turned on and off.
///
/// A severity is a single bit; a channel's mask says which of them are written. Loggers of one channel share its mask,
/// so it can be changed while the program runs, for loggers that exist and for those still to come. It starts as the
/// environment variable `FOUNDATION_LOG_MASK` says, which holds pairs `channel=mask` separated by `;`, the mask decimal
/// or hexadecimal (`foundation::tav=0x270;foundation::index=512`), or else as 512, the severity of errors. A pair that
/// can't be parsed is reported on standard error and ignored.
///
/// Records go to the Boost.Log core of the process and from there to the application's sinks (`console.h` has two).
/// They bear the attributes
/// - `Severity` (`unsigned int`): the calling thread's severity slot, `boost::log::sources::aux::get_severity_level()`,
///   as it was when the record was opened,
/// - `Channel` (`std::string`),
/// - `Indentation` (`unsigned int`): how deep the calling thread was indented when the record was opened.
///
/// Example: writing a record, whose text is composed only if somebody wants it.
/// @code
/// foundation::log::diagnostic_logger logger("foundation::index");
///
/// if (logger.mask() & 16) {
///     std::unique_lock lock(logger.mutex());
///     boost::log::sources::aux::get_severity_level() = 16;
///     boost::log::record record = logger.core()->open_record(logger.attributes());
///     lock.unlock();
///     if (record) {
///         {
///             boost::log::record_ostream stream(record);  // flushed and gone before the push
///             stream << "pages=" << index.pages();
///             stream.flush();
///         }
///         logger.core()->push_record(std::move(record));
///     }
/// }
/// @endcode

#include <foundation/log/export.h>
#include <atomic>
#include <boost/log/attributes/attribute.hpp>
#include <boost/log/attributes/attribute_set.hpp>
#include <boost/log/core/core.hpp>
#include <mutex>
#include <string>
#include <string_view>

namespace foundation::log {

namespace detail {

/// The attribute that says how deep a record is indented. The depth belongs to the calling thread and is the same for
/// all loggers: threads don't indent each other, and what one logger writes inside a scope of another is indented with
/// it.
///
/// ## Thread safety
/// May be used from any number of threads at once.
/// ## Errors
/// Construction may throw `std::bad_alloc`; the other operations don't fail. A decrease that has no increase to undo is
/// ignored.
/// ## Lifetime
/// Copies share their implementation; a thread's depth lives as long as the thread.
/// ## Re-entrancy
/// Calls nothing back.
class FOUNDATION_LOG_EXPORT indent_attribute : public boost::log::attribute {
public:
    indent_attribute();

    /// Indents the records of the calling thread by one level more.
    void increase() noexcept;

    /// Undoes one `increase()` of the calling thread.
    void decrease() noexcept;
};

/// The text of the exception in flight, the one that the innermost active handler of this thread has caught, and of
/// those nested in it (`std::nested_exception`), from the outermost to the innermost, joined by line ends: `what()` of
/// host exceptions and of standard ones, "Unknown exception" for any other. Empty outside handlers.
///
/// @throws std::bad_alloc
FOUNDATION_LOG_EXPORT std::string current_exception_chain_as_string();

}  // namespace detail

/// The source of the diagnostic records of one channel. Only `char` is provided as `Char`.
///
/// ## Thread safety
/// Every operation may be called from any number of threads at once. `mutex()` is for callers that open records: it is
/// theirs to lock, and no operation of the logger locks it.
/// ## Errors
/// Construction may throw `std::bad_alloc`, and the exceptions of the Boost.Log core when that can't be made; nothing
/// else fails.
/// ## Lifetime
/// May be constructed by static initialisers and used by static destructors: channels and their masks are never
/// destroyed, and the logger shares the Boost.Log core.
/// ## Re-entrancy
/// Calls nothing back.
template <class Char>
class FOUNDATION_LOG_EXPORT basic_diagnostic_logger {
public:
    basic_diagnostic_logger(const basic_diagnostic_logger&) = delete;
    basic_diagnostic_logger& operator=(const basic_diagnostic_logger&) = delete;

    /// Makes a logger of the channel, with the mask that the channel has.
    explicit basic_diagnostic_logger(std::string channel);
    ~basic_diagnostic_logger();

    /// The severities that are written, a bit each: the mask of the channel as it is now. One relaxed load.
    unsigned mask() const noexcept { return m_mask->load(std::memory_order_relaxed); }

    /// Held by callers while they set the thread's severity slot and open a record.
    std::mutex& mutex() const { return m_mutex; }

    /// The Boost.Log core that records are opened with and pushed to.
    boost::log::core_ptr const& core() const { return m_core; }

    /// The attributes that records are opened with.
    boost::log::attribute_set const& attributes() const { return m_attributes; }

    /// The attribute by which callers indent the records of their thread.
    detail::indent_attribute& indentation() { return m_indentation; }

private:
    const std::atomic<unsigned>* m_mask;  // the channel's; never destroyed
    mutable std::mutex m_mutex;
    boost::log::core_ptr m_core;
    detail::indent_attribute m_indentation;
    boost::log::attribute_set m_attributes;
};

extern template class basic_diagnostic_logger<char>;

/// The logger that there is.
using diagnostic_logger = basic_diagnostic_logger<char>;

/// Sets the mask of every logger of the channel, those that exist and those still to come. Any thread may call it; the
/// others see the new mask soon, with no order between it and what else they see.
///
/// @throws std::bad_alloc where the channel is a new one
FOUNDATION_LOG_EXPORT void set_severity_mask(std::string_view channel, unsigned mask);

/// The mask that loggers of the channel have, whether there are any or not.
///
/// @throws std::bad_alloc where the channel is a new one
FOUNDATION_LOG_EXPORT unsigned severity_mask(std::string_view channel);

}  // namespace foundation::log
