// The plan of a save of the SMTP page.
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

/// The steps that take the services from `stored` to `wanted`, in order. One for the SMTP server is
/// always among them.
std::list<Callback> PlanSmtpSave(const SmtpState& stored, const SmtpState& wanted);
