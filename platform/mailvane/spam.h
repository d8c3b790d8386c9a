// Spam rule sets, black and white lists. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

struct SpamRule {
    std::string name;
    bool enabled = false;
};

/// `BLACK_LIST` means the black list, any other value the white list.
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
    int type = -1;              ///< another criterion, -1 for any
    std::string columns = "*";  ///< what to select; ignored when counting
    std::string searchKey;      ///< part of a name; empty for all
};

class Spam {
public:
    /// The object of this process, which must not be deleted; null on failure.
    static Spam* getInstance();
    ~Spam();
    Spam(const Spam&) = delete;
    Spam& operator=(const Spam&) = delete;

    std::list<SpamRule> getSpamRules();
    /// Switch a rule set on or off, or remove it, with effect once `isEnableSpamassassin` or
    /// `getSpamRules` is called; negative when there is no such set or its file is refused. After a
    /// refusal the next `MailScanner::Service` answers a negative number.
    int enableRule(const std::string& name);
    int disableRule(const std::string& name);
    int deleteRule(const std::string& name);
    bool isEnableSpamassassin() const;
    /// Path of an imported rule file; empty when there is none. Needs no database.
    static std::string GetImportRulePath(const std::string& name);

    /// The page of matching entries, and the number of all matching entries (negative on failure).
    std::list<BlackWhite> getBlackWhiteList(const BlackWhiteFilter& filter);
    int countQueryData(const BlackWhiteFilter& filter);
    /// Change the stored lists; negative on failure.
    int addBlackWhite(const BlackWhite& entry);
    int deleteBlackWhite(const BlackWhite& entry);
    int deleteBlackWhiteList(const std::list<BlackWhite>& entries);
    /// Export a list to a text file, and import it from one. The import is all or nothing. Negative
    /// on failure.
    int exportBlackWhite(BlackWhiteType type, const std::string& path);
    int importBlackWhite(BlackWhiteType type, const std::string& path);

    /// Rebuilds the lists of scanner and SMTP server from the stored ones (empty without a
    /// database). Negative on failure, with the old lists still in force.
    static int GenerateBlackWhite();

private:
    Spam();
    struct State;
    State* state_;  ///< owned
};
