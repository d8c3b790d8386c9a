// Request parameters: query string, form bodies, text fields of an upload.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>

namespace kos {

/// The longest names and values of a request, added up in bytes, and the most parameters.
constexpr std::size_t kMaxParameterBytes = std::size_t{1} << 20;
constexpr std::size_t kMaxParameters = 1000;

class Parameters {
public:
    /// Adds a parameter. False when there are too many, when it is not UTF-8, or when it has a NUL:
    /// callers read texts that end at a NUL and would see another value than the one checked here.
    bool Add(std::string name, std::string value);

    /// The first value of this name; null when there is none. Valid as long as this object.
    const std::string* Find(std::string_view name) const;

private:
    std::deque<std::pair<std::string, std::string>> list_;  // keeps texts in place as it grows
    std::size_t bytes_ = 0;
};

/// Adds the `name=value` pairs of a query string or an `application/x-www-form-urlencoded` body. An
/// invalid percent sequence is kept as it is: `50%` means "50%". False when a parameter was
/// refused.
bool ParseForm(std::string_view text, Parameters& parameters);

}  // namespace kos
