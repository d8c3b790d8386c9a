// The header of a message, or of a part of one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace upkeep {

/// A field with its name and its value on one line, as bytes of strangers.
struct HeaderField {
    std::string name;
    std::string value;
};

/// Takes a header line by line. Of more than 64 KiB or 500 fields it keeps the beginning.
class HeaderBlock {
public:
    enum class Line {
        kTaken,
        kEnd,     ///< the empty line that ends the header
        kNoField  ///< of another form: the header has ended without one
    };

    /// Takes a line, without its end.
    Line Add(std::string_view line);

    const std::vector<HeaderField>& fields() const { return fields_; }

    /// Whether something was left out.
    bool cut() const { return cut_; }

    /// The value of the first field of this name, which is in lower case; empty when there is none.
    std::string_view Value(std::string_view name) const;

private:
    bool MakesRoom(std::size_t size);

    std::vector<HeaderField> fields_;
    std::size_t bytes_ = 0;
    bool cut_ = false;
    bool began_ = false;
};

}  // namespace upkeep
