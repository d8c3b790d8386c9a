// Texts as YAML has them.
#pragma once

#include <string>

namespace document {

/// A text on the line of its name: plain where no reader of YAML could take it for something else,
/// else in quotes.
std::string Quoted(const std::string& text);

/// A text behind the colon of its name, with the line's end: of several lines in a block that is
/// indented by `depth` blanks.
std::string Valued(const std::string& text, int depth);

/// A comment of whole lines, indented; `text` is one of this program, in words of ASCII.
std::string Comment(const std::string& text, int depth);

}  // namespace document
