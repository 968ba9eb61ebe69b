#pragma once

/// @file
/// Sinks that write a line per record, to the console or to a file.
///
/// An application that installs no sink at all gets Boost.Log's default one, which writes to *standard output*. Install
/// one of these, or one of Boost.Log's own, before the first record.
///
/// A line looks like this:
/// @code
/// 2026-11-21T02:14:10.123456Z 3 [foundation::tav] 32   message
/// @endcode
/// The fields are the time of writing in UTC, the number of the thread (1 for the first thread that had a record
/// written, 2 for the next, ...), the channel and the severity, with a blank after each; then two blanks per level of
/// indentation, and the message. Line ends in channel and message are written as `\n` and `\r`, so that a record is
/// always one line. The global locale has no influence.
///
/// The sinks write every record of the Boost.Log core, those of other sources too: a record that lacks the attribute
/// `Channel` (`std::string`), `Severity` (`unsigned int`) or `Indentation` (`unsigned int`) is written with an empty
/// channel, the severity 0 or no indentation.
///
/// ## Thread safety
/// The functions may be called, and records be written, from any number of threads at once. Lines don't interleave,
/// and their times don't go back unless the system's clock does.
/// ## Errors
/// A line that can't be written (the disk is full, standard error is closed) is lost silently. Composing a line may
/// throw `std::bad_alloc`, out of the push of the record.
/// ## Lifetime
/// The Boost.Log core owns the sinks; `boost::log::core::get()->remove_all_sinks()` removes them, and closes the file.
/// Each line is in the hands of the operating system when the record has been pushed.

#include <foundation/log/export.h>
#include <filesystem>

namespace foundation::log {

/// Installs a sink that writes to standard error. Each call adds one.
///
/// @throws std::bad_alloc
FOUNDATION_LOG_EXPORT void add_console_sink();

/// Installs a sink that appends to the file, which is made if it isn't there. Each call adds one. The file grows as
/// long as there are records: it is neither cut nor changed for another.
///
/// @throws std::filesystem::filesystem_error with the path and the system's reason, where the file can't be opened
/// @throws std::bad_alloc
FOUNDATION_LOG_EXPORT void add_file_sink(const std::filesystem::path& path);

}  // namespace foundation::log
