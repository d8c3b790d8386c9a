// The files of the mail that the scanner has kept aside. They are the scanner's, whose user could
// put anything in their place: only plain files are looked at.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/result.h"

namespace upkeep {

struct KeptMail {
    std::string id;          ///< the file's name
    std::int64_t date = 0;   ///< when it was kept, in seconds since the epoch
    std::uint64_t size = 0;  ///< of the file, in bytes
};

/// The folder of the scanner's quarantine.
std::string KeptFolder();

/// Whether a text can be the id of kept mail: a name of letters, digits and "_+-.", at most 80
/// bytes.
bool IsKeptId(std::string_view text);

/// All that is kept, the oldest first.
host::Result<std::vector<KeptMail>> ReadKeptMail();

/// Opens a file; none when it is not there, or not a plain one.
host::Descriptor OpenKept(const std::string& id);

}  // namespace upkeep
