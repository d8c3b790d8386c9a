// Spam rule sets, black and white lists. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

struct SpamRule {
    std::string name;
    bool enabled = false;
};

/// `BLACK_LIST` selects the black list, every other value the white list.
enum BlackWhiteType : int { WHITE_LIST = 0, BLACK_LIST = 1 };

struct BlackWhite {
    std::string name;    ///< address or pattern
    int blackWhite = 0;  ///< a `BlackWhiteType`
    int type = 0;        ///< 0 sender, 1 recipient, 2 client
    int nameType = 0;    ///< a `NameType` of the access lists
};

struct BlackWhiteFilter {
    int start = 0;
    int limit = 50;
    int searchType = -1;        ///< a `BlackWhiteType`, -1 for both lists
    int type = -1;              ///< a further criterion, -1 for any
    std::string columns = "*";  ///< what to select; the count copes with any
    std::string searchKey;      ///< part of a name, empty for all
};

class Spam {
public:
    /// An object that lives as long as the process, or null when it is unavailable.
    static Spam* getInstance();
    ~Spam();
    Spam(const Spam&) = delete;
    Spam& operator=(const Spam&) = delete;

    std::list<SpamRule> getSpamRules();
    /// Switch or remove one rule set; negative on failure.
    int enableRule(const std::string& name);
    int disableRule(const std::string& name);
    int deleteRule(const std::string& name);
    bool isEnableSpamassassin() const;
    /// Full path of an imported rule file; empty when there is none.
    std::string GetImportRulePath(const std::string& name);

    /// The page of matching entries, and their number whatever the page (negative on failure).
    std::list<BlackWhite> getBlackWhiteList(const BlackWhiteFilter& filter);
    int countQueryData(const BlackWhiteFilter& filter);
    /// Change the stored lists; negative on failure.
    int addBlackWhite(const BlackWhite& entry);
    int deleteBlackWhite(const BlackWhite& entry);
    int deleteBlackWhiteList(const std::list<BlackWhite>& entries);
    /// Write one list to a file, read one list from a file, in the same text format. The import is
    /// all or nothing. Negative on failure.
    int exportBlackWhite(BlackWhiteType type, const std::string& path);
    int importBlackWhite(BlackWhiteType type, const std::string& path);

    /// Rebuilds the lists that scanner and SMTP server read, from the package database; a missing
    /// database is an empty one. Negative on failure, the lists in force are then the old ones.
    static int GenerateBlackWhite();

private:
    Spam();
    struct State;
    State* state_;  ///< owned
};
