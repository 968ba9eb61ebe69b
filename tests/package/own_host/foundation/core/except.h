#pragma once

#include <foundation/core/record.h>

namespace foundation::core::except {

class IException {
public:
    virtual ~IException() = default;
    virtual const char* what() const noexcept = 0;
};

class IInternalException : public IException {};

template <class Interface, class T, class Enable = void>
class Exception : public Interface, public T {
public:
    explicit Exception(const T& error) : T(error) {}
    const char* what() const noexcept override { return T::what(); }
};

namespace detail {

template <class T>
class AnonymousInternalException : public Exception<IInternalException, T> {
public:
    explicit AnonymousInternalException(const T& error) : Exception<IInternalException, T>(error) {
        record(std::string("AnonymousInternalException: ") + error.what());
    }
};

}  // namespace detail

}  // namespace foundation::core::except
