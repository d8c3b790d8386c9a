// Automatic blind copies. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

#include "platform/mailvane/filter.h"

/// What a rule looks at. `BCC_ALWAYS` stands for the one copy of all mail.
enum BccType : int { BCC_SENDER = 0, BCC_RECIPIENT = 1, BCC_ALWAYS = 2 };

struct BccInfo {
    std::string name;   ///< the sender or recipient
    std::string bccTo;  ///< where the copy goes; ignored in deletions
    BccType type = BCC_SENDER;
};

class BCC {
public:
    /// An object that lives as long as the process, or null on failure.
    static BCC* getInstance();
    ~BCC();
    BCC(const BCC&) = delete;
    BCC& operator=(const BCC&) = delete;

    /// Number of rules that match the search, whatever the page; negative on failure.
    int getTotalBccNum(const Filter& filter);
    /// The page of matching rules.
    std::list<BccInfo> getAllBCCList(const Filter& filter);
    /// Where a copy of all mail goes; empty when nowhere.
    std::string getAlwaysBCC();

    /// Add and delete rules, in force at once. Negative on failure.
    int addBCC(BccType type, const std::string& name, const std::string& bccTo);
    int deleteBCC(const std::list<BccInfo>& rules);

    /// Write the rules of one type to a file, read them from a file, in the same text format. The
    /// import is all or nothing. Negative on failure.
    int exportBCC(BccType type, const std::string& path);
    int importBCC(BccType type, const std::string& path);

    /// Rebuilds the SMTP server's blind-copy maps; negative on failure, the maps in force are then
    /// the old ones.
    static int GenerateBccMap();

private:
    BCC();
    struct State;
    State* state_;  ///< owned
};
