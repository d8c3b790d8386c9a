// What a save of the security page has to restart, start or stop.
#pragma once

#include <list>
#include <string>

#include "platform/mailvane/callback.h"

/// The settings of the security page that decide what a save does.
struct SecurityState {
    bool antiVirus = false;
    bool spam = false;
    bool dangerousContent = false;
    bool dkim = false;
    bool dmarc = false;
    bool rejectOverRate = false;
    int rateLimit = 0;
    bool dnsbl = false;
    bool spf = false;
    bool spfSoftFail = false;
};

/// The verb that takes the scanner from `stored` to `wanted`: "start", "stop" or "restart". It
/// counts as on while any of its three switches is.
std::string ScannerVerb(const SecurityState& stored, const SecurityState& wanted);

/// The steps of the scanner's save and, after it, of the SMTP server's, in the order they must run.
std::list<Callback> PlanScannerSave(const SecurityState& stored, const SecurityState& wanted);
std::list<Callback> PlanSecuritySave(const SecurityState& stored, const SecurityState& wanted);
