// The outcome of an action: success, or the message that the client shows.
#pragma once

#include <optional>

class [[nodiscard]] Outcome {
public:
    /// The action has succeeded.
    static Outcome Success() { return Outcome(true); }

    /// Failed, without a message: the client gets only the flag.
    static Outcome Fail() { return Outcome(false); }

    /// Failed; `section` and `key` name a message in the interface's texts. Both must be literals
    /// or outlive the outcome.
    static Outcome Fail(const char* section, const char* key)
    {
        Outcome outcome(false);
        outcome.section_ = section;
        outcome.key_ = key;
        return outcome;
    }

    /// As `Fail`, with the number of the source line, for support.
    static Outcome FailAt(int line, const char* section, const char* key)
    {
        Outcome outcome = Fail(section, key);
        outcome.line_ = line;
        return outcome;
    }

    /// A call of the service library or the platform failed.
    static Outcome SystemError() { return Fail("common", "error_system"); }

    bool Ok() const { return ok_; }
    /// Null when there is no message.
    const char* Section() const { return section_; }
    const char* Key() const { return key_; }
    std::optional<int> Line() const { return line_; }

private:
    explicit Outcome(bool ok) : ok_(ok) {}

    bool ok_;
    const char* section_ = nullptr;
    const char* key_ = nullptr;
    std::optional<int> line_;
};
