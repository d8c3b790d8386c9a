// Sender quotas: how many messages each login may send. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

class SenderQuota {
public:
    struct Setting {
        std::string sasl_sender;  ///< login name
        unsigned int quota = 0;   ///< messages per hour
    };

    /// Sets `settings` to the page and returns the number of all quotas; negative on failure.
    static int GetSettingList(std::list<Setting>& settings, unsigned int start, unsigned int limit);
    /// Adds or replaces a quota, with the next `GenerateConfig`; negative on failure.
    static int Set(const std::string& saslSender, unsigned int quota);
    /// Removes quotas, with the next `GenerateConfig`; negative on failure.
    static int DeleteList(const std::list<std::string>& saslSenders);
    /// Stores what was changed and rebuilds the file of the rate policy; negative on failure, with
    /// the old quotas still stored and in force.
    static int GenerateConfig();
};
