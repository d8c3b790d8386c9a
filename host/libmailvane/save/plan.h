// The plan of a save: the steps that a page asks for, and those that it leaves out although its
// change reaches a daemon.
#pragma once

#include <list>
#include <set>
#include <string_view>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "platform/mailvane/callback.h"

namespace host::save {

/// What a change reaches, whether or not a step is for it.
struct AffectedServices {
    std::set<std::string_view> services;  ///< as the table of daemons names them
    bool scannerEnds = false;
    bool firewall = false;
};

/// The two servers, whatever has changed.
AffectedServices BothServers();

/// What a change from the stored settings and files to these reaches.
AffectedServices ServicesAffectedBy(const generation::NextGeneration& next,
                                    const settings::StoredSettings& wanted);

/// The plan, and a restart of each daemon that it leaves out although the change reaches it. The
/// filters are restarted whatever the plan does with them: the one for DKIM serves signing and the
/// DMARC checker, and a step speaks for one of them. The mail server, which calls them, comes last.
std::list<Callback> WholePlan(const std::list<Callback>& steps, const AffectedServices& affected);

/// Whether a step starts or stops a service.
bool IsServiceStep(const Callback& step);

/// Runs a step, which is a border of its own: what keeps it from its work is in the log by then.
Result<void> RunStep(const Callback& step);

/// Whether a plan reloads the firewall.
bool HasFirewallStep(const std::list<Callback>& steps);

}  // namespace host::save
