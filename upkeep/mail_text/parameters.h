// The values of the header fields that say what a part of a message is.
#pragma once

#include <string>
#include <string_view>

namespace upkeep {

/// What stands before the parameters, in lower case: "text/plain".
std::string MainValue(std::string_view field);

/// A parameter, whose name is in lower case, as UTF-8; empty when there is none. It can be in
/// pieces, and each be encoded.
std::string Parameter(std::string_view field, std::string_view name);

}  // namespace upkeep
