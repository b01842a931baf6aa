#pragma once

#include <string>
#include <utility>
#include <variant>

namespace korvalume {

// A value or the one-line reason why there is none (C++20 has no std::expected).
template <class T> class Result {
public:
    Result(T value) : state_(std::move(value)) {}
    static Result failure(std::string reason) { return Result(Failure{std::move(reason)}); }

    bool ok() const { return std::holds_alternative<T>(state_); }
    explicit operator bool() const { return ok(); }

    // Only when ok().
    const T& value() const& { return std::get<T>(state_); }
    T& value() & { return std::get<T>(state_); }
    T&& value() && { return std::get<T>(std::move(state_)); }
    const T& operator*() const& { return value(); }
    T& operator*() & { return value(); }
    const T* operator->() const { return &value(); }
    T* operator->() { return &value(); }

    // Only when !ok().
    const std::string& error() const { return std::get<Failure>(state_).reason; }

private:
    struct Failure {
        std::string reason;
    };
    explicit Result(Failure failure) : state_(std::move(failure)) {}
    std::variant<T, Failure> state_;
};

} // namespace korvalume
