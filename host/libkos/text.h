// Splitting header texts.
#pragma once

#include <string_view>

#include "host/libhaldcore/text.h"

namespace kos {

using host::InLowerCase;
using host::Trim;

/// Removes the text up to the first `separator`, and the separator, from `rest` and returns the
/// text; all of `rest` when there is no separator.
std::string_view CutAt(std::string_view& rest, char separator);

}  // namespace kos
