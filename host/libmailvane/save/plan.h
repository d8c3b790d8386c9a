// The plan of a save: the steps that a page asks for, and restarts of the other services that its
// change affects.
#pragma once

#include <list>
#include <set>
#include <string_view>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "platform/mailvane/callback.h"

namespace host::save {

/// What a change affects, whether or not the plan has a step for it.
struct AffectedServices {
    std::set<std::string_view> services;  ///< as the table of daemons names them
    std::set<std::string_view> wanted;    ///< those that are to run afterwards
    std::set<std::string_view> coming;    ///< filters that the mail server does not call yet
    bool milterEnds = false;  ///< one that the mail server calls now is not to run any more
    bool firewall = false;
};

/// Postfix and Dovecot as affected services, for a caller that does not know what has changed.
AffectedServices BothServers();

/// What the change from the stored settings and the generation in force to these affects. A service
/// that is to run and does not is affected by every change.
AffectedServices ServicesAffectedBy(const generation::NextGeneration& next,
                                    const settings::StoredSettings& wanted);

/// The page's steps, and a restart of each affected service that they leave out. The filters for
/// DKIM and DMARC are always restarted when affected: the DKIM filter both signs and checks for
/// DMARC, while a step stands for one of them. The mail server, which calls the filters, comes
/// last, and filters that it does not call yet come first. A step that stops what is still to run,
/// as the page has it when it is saved in part, restarts it instead.
std::list<Callback> WholePlan(const std::list<Callback>& steps, const AffectedServices& affected);

/// Whether a step starts or stops a service.
bool IsServiceStep(const Callback& step);

/// Whether a step makes the mail server take up its files.
bool IsMailServerStep(const Callback& step);

/// Runs a step and logs its result. The step itself logs the reason of a failure.
Result<void> RunStep(const Callback& step);

/// Whether a plan reloads the firewall.
bool HasFirewallStep(const std::list<Callback>& steps);

}  // namespace host::save
