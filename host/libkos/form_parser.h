// Request parameters: query string, form bodies, text fields of an upload.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <utility>

namespace kos {

/// Bytes of all names and values of a request together, and how many there may be.
constexpr std::size_t kMaxParameterBytes = std::size_t{1} << 20;
constexpr std::size_t kMaxParameters = 1000;

class Parameters {
public:
    /// Adds one. False when there are too many, or when it holds a NUL: the program reads texts
    /// that end at a NUL, and what was checked here must be what it sees there.
    bool Add(std::string name, std::string value);

    /// The first value of this name, null when there is none. Valid as long as this object.
    const std::string* Find(std::string_view name) const;

private:
    std::deque<std::pair<std::string, std::string>> list_;  // texts stay where they are
    std::size_t bytes_ = 0;
};

/// Adds the `name=value` pairs of a query string or of an `application/x-www-form-urlencoded` body.
/// A broken percent sequence stands for itself. False when a parameter was not taken.
bool ParseForm(std::string_view text, Parameters& parameters);

}  // namespace kos
