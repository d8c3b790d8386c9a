// Header values with parameters: `form-data; name="x"`, `multipart/form-data; boundary=x`.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kos {

class HeaderValue {
public:
    /// Takes apart what a client sent; never fails, unknown pieces are left out.
    static HeaderValue Parse(std::string_view text);

    /// What stands before the first semicolon, in lower case.
    const std::string& value() const { return value_; }

    /// The first parameter of this name (lower case), its quotes removed.
    std::optional<std::string> Parameter(std::string_view name) const;

private:
    std::string value_;
    std::vector<std::pair<std::string, std::string>> parameters_;
};

}  // namespace kos
