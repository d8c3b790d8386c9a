// Splitting header texts.
#include "host/libkos/text.h"

#include <algorithm>

namespace kos {

std::string_view CutAt(std::string_view& rest, char separator)
{
    const std::size_t end = std::min(rest.find(separator), rest.size());
    const std::string_view front = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return front;
}

}  // namespace kos
