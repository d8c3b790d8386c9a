// A text that may be longer than the memory that is there.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "host/libhaldcore/descriptor.h"

namespace host::generation {

/// A text that is written at its end. All but the last piece of a long one lies in a file without a
/// name, beside the generations.
class LongText {
public:
    LongText() = default;
    // A short text, as most are.
    LongText(std::string text) : end_(std::move(text)) {}
    LongText(const char* text) : end_(text) {}

    LongText& operator+=(std::string_view text);

    /// Passes the text on, in pieces of bounded size, until `take` returns false. False then, and,
    /// with errno set, when the text could not be kept or read.
    bool Each(const std::function<bool(std::string_view piece)>& take) const;

private:
    void KeepEnd();

    Descriptor file_;
    std::string end_;  ///< what follows the file's text
    int failure_ = 0;  ///< errno of the first failure
};

}  // namespace host::generation
