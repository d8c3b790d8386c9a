// The states of the settings that are kept: the generations, and what differs between them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/libmailvane/system/manifest.h"

namespace upkeep {

struct KeptState {
    std::uint32_t number = 0;
    std::string name;  ///< of the generation
    host::system::Origin origin;
    bool inForce = false;
    std::vector<std::string> settings;   ///< names of those that differ from the state before
    std::vector<std::string> files;      ///< what else differs from it, without compiled maps
    std::vector<std::string> different;  ///< names of the settings that differ from those in force
};

/// All of them, the oldest first. Of the first one nothing is known that could differ.
std::vector<KeptState> KeptStates();

/// The state of a number; nothing when it is not kept.
std::optional<KeptState> FindKeptState(std::uint64_t number);

}  // namespace upkeep
