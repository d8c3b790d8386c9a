// Results of operations that can fail: a value, or the reason of the failure for the log and the
// caller.
#pragma once

#include <cassert>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "host/libhaldcore/reason_code.h"
#include "host/libhaldcore/subject.h"

namespace host {

/// Why an operation failed.
struct Reason {
    ReasonCode code = ReasonCode::kSystem;
    Subject about;                    ///< never a secret
    std::string text;                 ///< the line for the log; empty when the causes say enough
    std::vector<Reason> causes = {};  ///< what caused it, for example lines of an imported list

    /// The same reason with `beginning` put before its text.
    Reason Prefixed(const std::string& beginning) &&;

    /// A reason of the same code for something that failed because of this one, which becomes its
    /// cause.
    Reason Causing(Subject about, std::string text) &&;

    /// Whether a client may be told what it or one of its causes is about.
    bool IsTold() const;

    /// The same reason; about `subject`, when it was not told what it is about.
    Reason About(Subject subject) &&;
};

/// The reason for a failed system call: `text`, a colon and the error (errno) in words.
Reason SystemReason(Subject about, const std::string& text);

/// A value, or the reason why there is none. Must be tested before the value or the reason is used:
///
///     Result<std::string> rules = ReadRuleFile(path);
///     if (!rules) return std::move(rules).reason();
///     Use(*rules);
template <typename T>
class [[nodiscard]] Result {
    static_assert(!std::is_same_v<T, Reason> && !std::is_reference_v<T>);

public:
    Result(T value) : state_(std::in_place_index<0>, std::move(value)) {}
    Result(Reason reason) : state_(std::in_place_index<1>, std::move(reason)) {}

    explicit operator bool() const { return state_.index() == 0; }

    T& operator*() & { return Get<0>(state_); }
    const T& operator*() const& { return Get<0>(state_); }
    T&& operator*() && { return std::move(Get<0>(state_)); }
    T* operator->() { return &Get<0>(state_); }
    const T* operator->() const { return &Get<0>(state_); }

    /// The same result; the text of a reason gets `beginning` put before it.
    Result Prefixed(const std::string& beginning) &&
    {
        if (!*this) return std::move(*this).reason().Prefixed(beginning);
        return std::move(*this);
    }

    /// The same result; a reason is about `subject`, when it was not told what it is about.
    Result About(Subject subject) &&
    {
        if (!*this) return std::move(*this).reason().About(std::move(subject));
        return std::move(*this);
    }

    const Reason& reason() const& { return Get<1>(state_); }
    Reason&& reason() && { return std::move(Get<1>(state_)); }

private:
    template <std::size_t Index, typename State>
    static auto& Get(State& state)
    {
        auto* held = std::get_if<Index>(&state);
        assert(held != nullptr);
        return *held;
    }

    std::variant<T, Reason> state_;
};

/// Success, which is the default, or the reason of a failure.
template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Reason reason) : reason_(std::move(reason)) {}

    explicit operator bool() const { return !reason_; }

    Result Prefixed(const std::string& beginning) &&
    {
        if (!*this) return std::move(*this).reason().Prefixed(beginning);
        return {};
    }

    Result About(Subject subject) &&
    {
        if (!*this) return std::move(*this).reason().About(std::move(subject));
        return {};
    }

    const Reason& reason() const&
    {
        assert(reason_);
        return *reason_;
    }
    Reason&& reason() &&
    {
        assert(reason_);
        return std::move(*reason_);
    }

private:
    std::optional<Reason> reason_;
};

/// Logs a reason, each of its causes first in a line of its own, and notes it for the answer. Only
/// borders log reasons: the platform's classes, the main functions of tools, the steps of a save.
void LogReason(const Reason& reason);

/// For borders: whether an operation succeeded; a reason is logged.
template <typename T>
[[nodiscard]] bool Succeeded(const Result<T>& result)
{
    if (!result) LogReason(result.reason());
    return static_cast<bool>(result);
}

/// For borders that return a number: the value, 0 for `Result<void>`, or -1 with the reason logged.
int Status(const Result<int>& result);
int Status(const Result<void>& result);

}  // namespace host
