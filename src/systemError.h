#pragma once

#include <cerrno>
#include <cstring>

/// Keeping `errno`, and describing it.
namespace tl {

/// Restores `errno` at the end of the scope to its value at the beginning.
class KeptErrno {
public:
    KeptErrno() : value_(errno) {}
    ~KeptErrno() { errno = value_; }
    KeptErrno(const KeptErrno&) = delete;
    KeptErrno& operator=(const KeptErrno&) = delete;

    int value() const { return value_; }

private:
    const int value_;
};

/// strerror(3) of `error`; "" if the C library returns null.
inline const char* reason(int error)
{
    const char* text = ::strerror(error);
    return text != nullptr ? text : "";
}

}  // namespace tl
