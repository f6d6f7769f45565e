// How the library reports failure, everywhere:
// 1. A scan never reports an error to its delegate: what cannot be read counts as empty (a size as
//    0), and every such skip is a diagnostic through analytics, with the path and the errno.
// 2. Per-path outcomes (deletion, sizes asked for by path) are errno numbers, 5 where none was set.
// 3. Anything else that can fail returns Result<T>: the value, or an Error the host can show.
// 4. No exception crosses a public interface (dff's runtime_error stays inside dff), and the library
//    never ends the host process: a resource that cannot be loaded is an Error, not an exit.
// 5. When the library is unsure whether something may be deleted, the answer is no (fail closed).
//
// Threading: plain values, safe to copy between threads.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace core {

struct Error {
    int code = 0;        // an errno number where one applies, else 0
    std::string message; // one line, for the user
};

template <class T> class Result {
public:
    Result(T value) : state_(std::move(value)) {}
    Result(Error error) : state_(std::move(error)) {}

    bool ok() const { return std::holds_alternative<T>(state_); }
    explicit operator bool() const { return ok(); }

    // Only when ok().
    const T& value() const& { return std::get<T>(state_); }
    T& value() & { return std::get<T>(state_); }
    T&& value() && { return std::get<T>(std::move(state_)); }
    const T& operator*() const& { return value(); }
    const T* operator->() const { return &value(); }

    // Only when !ok().
    const Error& error() const { return std::get<Error>(state_); }

private:
    std::variant<T, Error> state_;
};

// For operations that give nothing back but may fail.
struct Done {};
using Status = Result<Done>;

} // namespace core
