// How much each login may send. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

class SenderQuota {
public:
    struct Setting {
        std::string sasl_sender;  ///< login name
        unsigned int quota = 0;   ///< messages per hour
    };

    /// Fills `settings` with the page; the number of all limits, negative on failure.
    static int GetSettingList(std::list<Setting>& settings, unsigned int start, unsigned int limit);
    /// Adds or replaces one limit, with the next `GenerateConfig`; negative on failure.
    static int Set(const std::string& saslSender, unsigned int quota);
    /// Removes limits, with the next `GenerateConfig`; negative on failure.
    static int DeleteList(const std::list<std::string>& saslSenders);
    /// Stores what was changed and rebuilds what the rate policy reads; negative on failure, the
    /// limits, stored and in force, are then the old ones.
    static int GenerateConfig();
};
