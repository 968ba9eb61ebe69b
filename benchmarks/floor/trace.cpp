#include <atomic>
#include <boost/core/demangle.hpp>
#include <boost/log/attributes/function.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/sources/severity_channel_logger.hpp>
#include <string>

#include "floor.h"

namespace bench::floor {

namespace {

constexpr unsigned entrySeverity = 32;
constexpr unsigned exitSeverity = 64;

constinit std::atomic<std::uint64_t> counter = 0;
constinit std::atomic<unsigned> mask = 512;
constinit thread_local unsigned depth = 0;

using Logger = boost::log::sources::severity_channel_logger_mt<unsigned, std::string>;

Logger makeLogger() {
    Logger logger(boost::log::keywords::channel = "foundation::tav");
    logger.add_attribute("Indentation", boost::log::attributes::make_function([] { return depth; }));
    return logger;
}

Logger& logger() {
    static Logger instance = makeLogger();
    return instance;
}

[[gnu::cold, gnu::noinline]] void recordNumber(std::uint64_t number) {
    BOOST_LOG_SEV(logger(), 16U) << "nextID  id=" << number;
}

}  // namespace

std::uint64_t nextIDTraced(const std::type_info&) {
    const std::uint64_t number = counter.fetch_add(1);
    if ((mask.load(std::memory_order_relaxed) & 16U) != 0) [[unlikely]]
        recordNumber(number);
    return number;
}

void recordCall(const char* signature, std::uint64_t id, const std::type_info& type, const void* context) {
    BOOST_LOG_SEV(logger(), entrySeverity)
        << signature << "  typeID=" << id << " getName(type)=" << boost::core::demangle(type.name())
        << " this=" << context;
    ++depth;
    --depth;
    BOOST_LOG_SEV(logger(), exitSeverity) << signature;
}

}  // namespace bench::floor
