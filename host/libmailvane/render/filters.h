// The filters of the SMTP server: check of From fields, DKIM signer and verifier, DMARC checker,
// SPF checker, rate policy, scanner.
#pragma once

#include <string>

#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/render/context.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// Postfix's list of filters for mail received by SMTP. The scanner, which costs most, comes last.
std::string SmtpFilters(const settings::StoredSettings& settings);

/// The list of filters for mail submitted by logins: scanned, then signed.
std::string SubmissionFilters(const settings::StoredSettings& settings);

/// The list of filters for mail that local programs give to the sendmail command.
std::string LocalMailFilters(const settings::StoredSettings& settings);

/// The item of a restriction list that calls the SPF checker.
extern const char kAskSpf[];

/// The item of a restriction list that checks by SPF whether a client without a login may use a
/// sender address of this server. Mail is deferred while the checker does not answer.
extern const char kAskOwnSenders[];

/// What finds refused names of attachments in headers: a table picks the headers, a service judges
/// them.
extern const char kAskAttachmentNames[];

/// The item of a restriction list that calls the rate policy; used while memcached, which counts,
/// runs.
extern const char kAskRatePolicy[];

/// The services in master.cf that run the SPF checker, the checks of From fields and of names of
/// attachments, and the rate policy. They are there even when switched off. While a save changes
/// the files, some SMTP servers run with old parameters and some with new ones, and both must find
/// the services that they call.
std::string FilterServices(const settings::StoredSettings& settings, const RenderContext& context);

/// Puts the files of the filters into the next generation, even of those that are switched off.
void PutFilterFiles(generation::NextGeneration& next, const settings::StoredSettings& settings,
                    const RenderContext& context);

}  // namespace host::render
