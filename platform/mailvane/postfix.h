// Settings and control of the SMTP server. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

#include "platform/mailvane/callback.h"
#include "platform/mailvane/config.h"

class Postfix : public Config {
public:
    /// One DNS blocklist: its zone and the kind of list.
    struct DNSBL {
        DNSBL(const std::string& server, const std::string& type);

        std::string server;
        std::string type;
    };

    Postfix();
    ~Postfix() override;

    /// Reads the stored settings, domains and blocklists. 0, negative on failure.
    int LoadSettings();

    /// Stores settings, domains and blocklists and brings the mail server in line as one
    /// transaction, running `func(arg)` of each step in list order. 0; negative when a value or a
    /// generated file was refused (nothing changed) or a step failed (the old configuration is in
    /// force again).
    int SaveSettings(const std::list<Callback>& steps);

    /// "start", "stop" or "restart": brings the SMTP server to what its stored settings ask for;
    /// "stop" ends it. Returns when it is really up or gone. 0, negative on failure.
    static int Service(const std::string& verb);

    /// The additional mail domains in stored order.
    std::list<std::string> GetAdditionDomain();
    /// Change the loaded list of domains. A name that is no domain is refused by the save that
    /// follows; deleting an absent one is harmless. Negative when refused.
    int AddDomain(const std::string& domain);
    int DeleteDomain(const std::string& domain);

    /// The blocklists in stored order.
    std::list<DNSBL> GetDNSBLList();
    /// Change the loaded list of blocklists; deletion matches both fields. An entry that is none is
    /// refused by the save that follows. Negative when refused.
    int AddDNSBL(const DNSBL& entry);
    int DeleteDNSBL(const DNSBL& entry);
};
