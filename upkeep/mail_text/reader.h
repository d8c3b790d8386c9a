// What mail says. A process of the scanner's user reads it, `hald_mail_text`: these are bytes of
// strangers. What it answers is taken as that of a stranger, too.
#pragma once

#include <json/value.h>

#include <string>
#include <vector>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/result.h"

namespace upkeep {

/// A command line that runs a program as the scanner's user, without any way to get more rights.
std::vector<std::string> AsScanner(const std::vector<std::string>& program);

/// Heads of kept mail that was found: id, sender, recipients and recipient_count, subject, score.
struct Heads {
    std::vector<Json::Value> page;
    std::uint64_t found = 0;
};

/// Reads heads of the files of these names in a folder and finds the text in them, without regard
/// to case: `count` messages from `start` on. An empty text is in all. Fails with `kTooMany` about
/// the query after 3 s.
host::Result<Heads> ReadHeads(const std::string& folder, const std::vector<std::string>& names,
                              const std::string& wanted, std::size_t start, std::size_t count);

/// Reads what a message says, from its file: headers (name, value), text, parts (type, name, size),
/// part_count, cut. Fails with `kUnreadable` or `kOutOfTime` about the id.
host::Result<Json::Value> ReadText(const host::Descriptor& file);

/// The same of a message in memory.
host::Result<Json::Value> ReadText(const std::string& message);

/// Writes a message, unpacked, to the standard output.
void WriteRaw(const host::Descriptor& file);

/// A message, unpacked. Fails with `kTooLong` when it has more bytes than `most`, and with
/// `kDamaged` when it cannot be unpacked.
host::Result<std::string> ReadRaw(const host::Descriptor& file, std::size_t most);

}  // namespace upkeep
