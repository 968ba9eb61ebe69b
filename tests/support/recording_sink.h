#pragma once

/// @file
/// What the diagnostic trace writes, as tests see it.

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace foundation::tests {

inline constexpr const char* tavChannel = "foundation::tav";

/// One record of the diagnostic trace.
struct Record {
    unsigned severity;
    unsigned indentation;
    std::string message;
    std::string channel = tavChannel;

    friend bool operator==(const Record&, const Record&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const Record& record);
};

/// Where a sink throws.
enum class SinkFailure { none, whenAsked, whenWritten };

/// Takes in all records of the process for as long as it lives, and notes those that were not lost to its failures.
class RecordingSink {
public:
    RecordingSink();
    ~RecordingSink();
    RecordingSink(const RecordingSink&) = delete;
    RecordingSink& operator=(const RecordingSink&) = delete;

    /// Makes the sink throw for each record from now on, or no longer.
    void fail(SinkFailure failure);

    /// The number of records that the sink has thrown for.
    unsigned failures() const;

    /// The records since construction or the last call, of all threads, in the order in which they came.
    std::vector<Record> take();

private:
    class Sink;
    const std::shared_ptr<Sink> m_sink;
};

/// Wants no record. As long as one lives, the process has a sink and Boost.Log's default one keeps quiet, which would
/// write to standard output.
class NullSink {
public:
    NullSink();
    ~NullSink();
    NullSink(const NullSink&) = delete;
    NullSink& operator=(const NullSink&) = delete;

private:
    class Sink;
    const std::shared_ptr<Sink> m_sink;
};

/// While it lives, the trace of the library has this mask.
class ScopedMask {
public:
    explicit ScopedMask(unsigned mask);
    ~ScopedMask();
    ScopedMask(const ScopedMask&) = delete;
    ScopedMask& operator=(const ScopedMask&) = delete;

private:
    const unsigned m_previous;
};

}  // namespace foundation::tests
