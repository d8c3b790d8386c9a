// The plan of a save of the security page.
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

/// The verb that takes the scanner from `stored` to `wanted`: "start", "stop" or "restart". The
/// scanner is on when any of its three switches is.
std::string ScannerVerb(const SecurityState& stored, const SecurityState& wanted);

/// The steps for the scanner, and the steps for the SMTP server, which run after these; both in
/// order.
std::list<Callback> PlanScannerSave(const SecurityState& stored, const SecurityState& wanted);
std::list<Callback> PlanSecuritySave(const SecurityState& stored, const SecurityState& wanted);
