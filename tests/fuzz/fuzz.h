// What the fuzz targets share. A target is one function that takes whatever bytes it is given and
// ends the process when something that must hold does not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Ends the process when something that must hold does not.
inline void Expect(bool holds)
{
    if (!holds) std::abort();
}

/// An input as a text.
inline std::string_view Text(const std::uint8_t* data, std::size_t size)
{
    return {reinterpret_cast<const char*>(data), size};
}

/// Cuts the text up to the next `separator` off `rest`, and the separator too.
inline std::string Cut(std::string_view& rest, char separator)
{
    const std::string_view part = rest.substr(0, rest.find(separator));
    rest.remove_prefix(part.size() == rest.size() ? part.size() : part.size() + 1);
    return std::string(part);
}

/// The name of a file in a folder of this process alone, in memory, which goes with the process.
std::string OwnFile(const std::string& name);

/// The same, with these bytes in it: a new file, whatever had its name before.
std::string NewFile(const std::string& name, std::string_view bytes);

}  // namespace fuzz
