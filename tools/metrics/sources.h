// Where the metrics come from. Each source is read as it lies there: no lock is taken, no daemon is
// asked and no program is run.
#pragma once

#include <array>
#include <cstdint>

#include "tools/metrics/exposition.h"

namespace metrics {

// Each adds what its source has; false, with nothing added, when it is missing or cannot be read.
// `now` is in seconds since the epoch.

/// Mail of the last hour and day by what became of it, and how far behind the collector is.
bool AddMailLog(std::int64_t now, Exposition& exposition);

/// Messages in the mail server's queues, by their age.
bool AddQueue(std::int64_t now, Exposition& exposition);

/// How long the mail scanner has taken for the mail of the last minutes.
bool AddScanner(std::int64_t now, Exposition& exposition);

/// From when to when the certificate in force is valid.
bool AddCertificate(std::int64_t now, Exposition& exposition);

/// How old the key is that signs mail.
bool AddSigningKey(std::int64_t now, Exposition& exposition);

/// How old the virus signatures are.
bool AddSignatures(std::int64_t now, Exposition& exposition);

/// What the last self-check found.
bool AddChecks(std::int64_t now, Exposition& exposition);

/// The generation in force.
bool AddGeneration(std::int64_t now, Exposition& exposition);

/// How many changes went well, and how many did not.
bool AddChanges(std::int64_t now, Exposition& exposition);

struct Source {
    const char* name;
    bool (*add)(std::int64_t now, Exposition& exposition);
};

/// All of them, in the order of the text. To add one: its function, a row here, and rows in
/// docs/monitoring.md.
constexpr std::array<Source, 9> kSources = {{{"mail_log", AddMailLog},
                                             {"queue", AddQueue},
                                             {"scanner", AddScanner},
                                             {"certificate", AddCertificate},
                                             {"signing_key", AddSigningKey},
                                             {"signatures", AddSignatures},
                                             {"checks", AddChecks},
                                             {"generation", AddGeneration},
                                             {"changes", AddChanges}}};

/// What all sources have, and which of them are there.
std::string Gather(std::int64_t now);

}  // namespace metrics
