// What a save of the SMTP page has to restart, start, stop or rebuild.
#pragma once

#include <list>
#include <string>

#include "platform/mailvane/callback.h"

/// The settings of the SMTP page that decide what a save does.
struct SmtpState {
    bool smtpEnabled = false;
    bool sslEnabled = false;
    bool tlsEnabled = false;
    int smtpPort = 0;
    int smtpsPort = 0;
    int tlsPort = 0;
    bool restrictSender = false;
    std::string accountType;
    std::string domain;
    std::string hostname;
    bool dkimEnabled = false;   ///< only the stored one counts
    bool dmarcEnabled = false;  ///< only the stored one counts
};

/// The steps that take the server from `stored` to `wanted`, in the order they must run. There is
/// always one for the SMTP server.
std::list<Callback> PlanSmtpSave(const SmtpState& stored, const SmtpState& wanted);
