#pragma once

#include <string>
#include <utility>
#include <variant>

namespace korvalume {

// What went wrong, for callers that branch on it; people read the message.
enum class ErrorKind {
    unreadable,  // outside data that cannot be read: a damaged or foreign file, a bad message
    notFound,    // a file, folder, camera or peer that is not there
    io,          // the system refused a read or a write (permissions, a full disk)
    refused,     // readable input that the current state does not take
    invalid,     // a request that cannot be carried out as asked
    unavailable, // a service the call needs is missing (no mDNS daemon, no TLS backend)
    cancelled,   // stopped by the user
};

// A failure: its kind and one line that names the file or peer and says what is wrong.
struct Error {
    ErrorKind kind = ErrorKind::unreadable;
    std::string message;

    friend bool operator==(const Error&, const Error&) = default;
};

// A value, or the error why there is none (C++20 has no std::expected).
template <class T> class Result {
public:
    Result(T value) : state_(std::move(value)) {}
    Result(Error error) : state_(std::move(error)) {}
    static Result failure(ErrorKind kind, std::string message) {
        return Result(Error{kind, std::move(message)});
    }

    bool ok() const { return std::holds_alternative<T>(state_); }
    explicit operator bool() const { return ok(); }

    // Only when ok().
    const T& value() const& { return std::get<T>(state_); }
    T& value() & { return std::get<T>(state_); }
    T&& value() && { return std::get<T>(std::move(state_)); }
    const T& operator*() const& { return value(); }
    T& operator*() & { return value(); }
    T&& operator*() && { return std::move(*this).value(); }
    const T* operator->() const { return &value(); }
    T* operator->() { return &value(); }

    // Only when !ok().
    const Error& error() const { return std::get<Error>(state_); }
    const std::string& message() const { return error().message; }
    ErrorKind kind() const { return error().kind; }

private:
    std::variant<T, Error> state_;
};

// Success with nothing to hand back, or the error.
template <> class Result<void> {
public:
    Result() = default;
    Result(Error error) : error_(std::move(error)), failed_(true) {}
    static Result failure(ErrorKind kind, std::string message) {
        return Result(Error{kind, std::move(message)});
    }

    bool ok() const { return !failed_; }
    explicit operator bool() const { return ok(); }

    // Only when !ok().
    const Error& error() const { return error_; }
    const std::string& message() const { return error_.message; }
    ErrorKind kind() const { return error_.kind; }

private:
    Error error_;
    bool failed_ = false;
};

using Status = Result<void>;

} // namespace korvalume
