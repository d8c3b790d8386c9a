// The filters that mail passes on its way through the SMTP server: the check of From fields, the
// DKIM signer and verifier, the DMARC checker, the SPF checker, the rate policy, the scanner.
#pragma once

#include <string>

#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// Postfix's list of filters for mail that comes in by SMTP, in their order: the scanner, which
/// costs most, sees what the others let pass.
std::string SmtpFilters(const settings::StoredSettings& settings);

/// The same for mail that logins submit: it is scanned before it is signed.
std::string SubmissionFilters(const settings::StoredSettings& settings);

/// The same for mail that programs of this machine hand to the sendmail command.
std::string LocalMailFilters(const settings::StoredSettings& settings);

/// The item of a restriction list that asks the SPF checker.
extern const char kAskSpf[];

/// The item of a restriction list that asks whether a stranger may be a sender of this server.
/// While nobody answers, such mail waits.
extern const char kAskOwnSenders[];

/// The item of a restriction list that asks the rate policy, which runs while its counters do.
extern const char kAskRatePolicy[];

/// The services of master.cf that run the SPF checker, the check of From fields and the rate policy
/// when they are asked. They are there while nothing asks them too: an SMTP server goes on with the
/// parameters that it started with until it ends, and one that starts during a save has the next
/// ones already. What either asks must answer.
std::string FilterServices(const settings::StoredSettings& settings);

/// Puts the filters' own files into the next generation, whether they run or not.
void PutFilterFiles(generation::NextGeneration& next, const settings::StoredSettings& settings,
                    const RenderContext& context);

}  // namespace host::render
