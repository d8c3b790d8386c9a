// Signature files of the anti-virus engine.
#include "host/libmailvane/daemons/signatures.h"

#include <algorithm>
#include <iterator>

namespace host::daemons {

namespace {

constexpr const char* kEndings[] = {".cbc", ".cdb", ".cld", ".cud", ".cvd", ".db",  ".gdb", ".hdb",
                                    ".hdu", ".hsb", ".hsu", ".ldb", ".ldu", ".mdb", ".mdu", ".msb",
                                    ".msu", ".ndb", ".ndu", ".pdb", ".sdb", ".yar", ".yara"};

}  // namespace

bool IsSignatureFile(const std::filesystem::path& name)
{
    return std::find(std::begin(kEndings), std::end(kEndings), name.extension()) !=
           std::end(kEndings);
}

}  // namespace host::daemons
