// Feeds a fuzz target with mutated seeds, without libFuzzer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Well-formed inputs of the target, and pieces that often break it.
std::vector<std::string> FuzzSeeds();

/// Ends the process when something that must hold does not.
inline void FuzzExpect(bool holds)
{
    if (!holds) std::abort();
}
