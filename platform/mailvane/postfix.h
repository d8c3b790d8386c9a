// Settings and control of the SMTP server. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

#include "platform/mailvane/callback.h"
#include "platform/mailvane/config.h"

class Postfix : public Config {
public:
    /// A DNS blocklist: its zone and type.
    struct DNSBL {
        DNSBL(const std::string& server, const std::string& type);

        std::string server;
        std::string type;
    };

    Postfix();
    ~Postfix() override;

    /// Reads the stored settings, domains and blocklists. 0, negative on failure.
    int LoadSettings();

    /// Stores settings, domains and blocklists and updates the mail server in one transaction,
    /// calling `func(arg)` of each step in order. 0; negative when a value or a generated file was
    /// refused (nothing has changed) or a step failed (the old configuration is in force again).
    int SaveSettings(const std::list<Callback>& steps);

    /// Runs a verb: "start" and "restart" bring the SMTP server to the state in its stored
    /// settings, "stop" stops it. Returns when that state is reached. 0, negative on failure.
    static int Service(const std::string& verb);

    /// The additional mail domains, in stored order.
    std::list<std::string> GetAdditionDomain();
    /// Change the loaded list of domains. Negative when refused. The next save fails after an
    /// invalid name; deleting a domain that is not there is no error.
    int AddDomain(const std::string& domain);
    int DeleteDomain(const std::string& domain);

    /// The blocklists, in stored order.
    std::list<DNSBL> GetDNSBLList();
    /// Change the loaded list of blocklists; a deletion compares both members. Negative when
    /// refused; the next save fails after an invalid entry.
    int AddDNSBL(const DNSBL& entry);
    int DeleteDNSBL(const DNSBL& entry);
};
