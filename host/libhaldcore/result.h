// How an operation fails: with a reason, which travels up unbroken to whoever has to tell it.
#pragma once

#include <cassert>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace host {

/// What callers tell apart.
enum class ReasonCode {
    kRefused,        ///< a value that is not taken
    kTaken,          ///< somebody or something has the name already
    kMissing,        ///< there is no such thing
    kDamaged,        ///< it is there, but it is not what it should be
    kUnreadable,     ///< it is there, but it cannot be read
    kBusy,           ///< another process has it in hand
    kDaemonRefuses,  ///< a daemon does not take its files
    kDaemonIsDown,   ///< a daemon does not come up, or does not answer
    kPortInUse,      ///< a port is in others' hands
    kOutOfTime,      ///< it took too long
    kSystem          ///< the system says no: a full disk, say
};

/// Why an operation failed.
struct Reason {
    ReasonCode code = ReasonCode::kSystem;
    std::string about;  ///< name of a setting, list, line, daemon or file; never a secret
    std::string text;   ///< the line for the log; empty when the causes say it all
    std::vector<Reason> causes = {};  ///< what led to it, such as the lines of a list it is made of

    /// The same, its own line begun with `beginning`.
    Reason Prefixed(const std::string& beginning) &&;

    /// The same code, about something that failed because of this.
    Reason Causing(std::string about, std::string text) &&;
};

/// What a system call has just said, by errno: `text`, a colon and the error in words.
Reason SystemReason(const std::string& about, const std::string& text);

/// A value, or the reason why there is none. To be asked before either is looked at.
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

    /// The same; a reason's own line begins with `beginning`.
    Result Prefixed(const std::string& beginning) &&
    {
        if (!*this) return std::move(*this).reason().Prefixed(beginning);
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

/// Done, which is the default, or the reason why not.
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

/// Logs a reason, its causes first, each in a line of its own. Nobody but a border logs a reason:
/// the classes of the platform, the main functions of tools, the steps of a save.
void LogReason(const Reason& reason);

/// At a border: true, or false with the reason logged.
template <typename T>
[[nodiscard]] bool Succeeded(const Result<T>& result)
{
    if (!result) LogReason(result.reason());
    return static_cast<bool>(result);
}

/// At a border that answers with a number: the value, 0 for `Result<void>`, or -1 with the reason
/// logged.
int Status(const Result<int>& result);
int Status(const Result<void>& result);

}  // namespace host
