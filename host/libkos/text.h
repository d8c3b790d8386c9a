// Small cuts of header texts.
#pragma once

#include <string_view>

#include "host/libhaldcore/text.h"

namespace kos {

using host::InLowerCase;
using host::Trim;

/// Cuts what stands before the first `separator` off the front of `rest`, the separator with it;
/// all of `rest` when there is none.
std::string_view CutAt(std::string_view& rest, char separator);

}  // namespace kos
