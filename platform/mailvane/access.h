// Access lists: who may send, receive, connect. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

#include "platform/mailvane/filter.h"

/// The list of an entry.
enum Type : int { TYPE_SENDER = 0, TYPE_RECIPIENT = 1, TYPE_CLIENT = 2 };

/// The kind of name of an entry.
enum NameType : int {
    NAME_ADDRESS = 0,
    NAME_DOMAIN = 1,
    NAME_DOMAIN_TREE = 2,
    NAME_IP = 3,
    NAME_NETWORK = 4
};

/// The permission of an entry. `ACCESS_UNKNOWN` stands for a text that is no permission; it cannot
/// be stored.
enum AccessStatus : int {
    ACCESS_OK = 0,
    ACCESS_REJECT = 1,
    ACCESS_DISCARD = 2,
    ACCESS_UNKNOWN = 3
};

struct AccessInfo {
    std::string name;
    AccessStatus status = ACCESS_OK;
    Type type = TYPE_SENDER;
    NameType nameType = NAME_ADDRESS;
};

class Access {
public:
    /// A new object owned by the caller, or null on failure.
    static Access* getInstance();
    ~Access();
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;

    /// The number of entries that match the search, on all pages; negative on failure.
    int getTotalAccessNum(const Filter& filter);
    /// The page of matching entries.
    std::list<AccessInfo> getAllAccessList(const Filter& filter);

    /// Adds an entry; negative on failure or when the name is not of its kind.
    int addAccess(Type type, NameType nameType, const std::string& name, AccessStatus status);
    /// Deletes entries, whatever their permission; negative on failure. The list may be empty.
    int deleteAccess(const std::list<AccessInfo>& entries);

    /// Export a list to a text file, and import it from one. The import is all or nothing. Negative
    /// on failure.
    int exportAccess(Type type, const std::string& path);
    int importAccess(Type type, const std::string& path);

    /// Rebuilds the SMTP server's access maps from the stored lists; negative on failure, with the
    /// old maps still in force.
    static int GenerateAccessMap();

    static AccessStatus StrToStatus(const char* text);
    static std::string StatusToStr(AccessStatus status);

private:
    Access();
    struct State;
    State* state_;  ///< owned
};
