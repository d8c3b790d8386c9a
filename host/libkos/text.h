// Small cuts of header texts.
#pragma once

#include <string>
#include <string_view>

#include "host/libhaldcore/trim.h"

namespace kos {

using host::Trim;

/// The text with its ASCII letters in lower case.
std::string Lower(std::string_view text);

/// Cuts what stands before the first `separator` off the front of `rest`, the separator with it;
/// all of `rest` when there is none.
std::string_view CutAt(std::string_view& rest, char separator);

}  // namespace kos
