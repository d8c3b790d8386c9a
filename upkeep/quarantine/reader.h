// What kept mail says. A process of the scanner's user reads it, `hald_mail_text`: these are bytes
// of strangers. What it answers is taken as that of a stranger, too.
#pragma once

#include <json/value.h>

#include <string>
#include <vector>

#include "upkeep/quarantine/kept_mail.h"

namespace upkeep {

/// Heads of messages that were found, as calls.h tells of them.
struct Heads {
    std::vector<Json::Value> page;
    std::uint64_t found = 0;
};

/// Reads heads of kept mail and finds the text in them, without regard to case: `count` messages
/// from `start` on. An empty text is in all. Fails with `kTooMany` about the query after 3 s.
host::Result<Heads> ReadHeads(const std::vector<KeptMail>& mail, const std::string& wanted,
                              std::size_t start, std::size_t count);

/// Reads what a message says, from its file: the members that calls.h tells of.
host::Result<Json::Value> ReadText(const host::Descriptor& file);

/// Writes a message, unpacked, to the standard output.
void WriteRaw(const host::Descriptor& file);

/// A message, unpacked. Fails with `kTooLong` when it has more bytes than `most`, and with
/// `kDamaged` when it cannot be unpacked.
host::Result<std::string> ReadRaw(const host::Descriptor& file, std::size_t most);

}  // namespace upkeep
