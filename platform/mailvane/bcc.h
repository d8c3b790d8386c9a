// Automatic blind carbon copies. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

#include "platform/mailvane/filter.h"

/// The kind of a rule. `BCC_ALWAYS` is the one address that gets a copy of all mail.
enum BccType : int { BCC_SENDER = 0, BCC_RECIPIENT = 1, BCC_ALWAYS = 2 };

struct BccInfo {
    std::string name;   ///< the sender or recipient
    std::string bccTo;  ///< gets the copy; ignored in deletions
    BccType type = BCC_SENDER;
};

class BCC {
public:
    /// The object of this process, which must not be deleted; null on failure.
    static BCC* getInstance();
    ~BCC();
    BCC(const BCC&) = delete;
    BCC& operator=(const BCC&) = delete;

    /// The number of rules that match the search, on all pages; negative on failure.
    int getTotalBccNum(const Filter& filter);
    /// The page of matching rules.
    std::list<BccInfo> getAllBCCList(const Filter& filter);
    /// The address that gets a copy of all mail; empty for none.
    std::string getAlwaysBCC();

    /// Add and delete rules, in force at once. Negative on failure.
    int addBCC(BccType type, const std::string& name, const std::string& bccTo);
    int deleteBCC(const std::list<BccInfo>& rules);

    /// Export the rules of one type to a text file, and import them from one. The import is all or
    /// nothing. Negative on failure.
    int exportBCC(BccType type, const std::string& path);
    int importBCC(BccType type, const std::string& path);

    /// Rebuilds the SMTP server's maps of blind carbon copies; negative on failure, with the old
    /// maps still in force.
    static int GenerateBccMap();

private:
    BCC();
    struct State;
    State* state_;  ///< owned
};
