// The table of lists: all that is known about each that administrators fill, apart from what a
// page does with it.
//
// What puts lists in force, exchanges them or renders a first generation follows it. The makers
// give the texts of the files in the order in which a row names them. To add a list: a row here,
// its table or file in host/libmailvane/stores/, and a class of the platform.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/access_store.h"
#include "host/libmailvane/stores/bcc_store.h"
#include "host/libmailvane/stores/black_white_store.h"

namespace host::render {

/// What it means that the account source does not answer.
enum class Silence {
    kFails,  ///< the files are not made
    kWaits   ///< mail for the aliases that depend on it is to be sent again later
};

/// What the files of lists are made from. May be read within a change that is not stored yet.
struct ListSources {
    const settings::StoredSettings& settings;  ///< that are in force, or about to be
    SQLite::Database& database;                ///< the one of the list
    std::vector<std::string> types;            ///< of attachments that are refused
    Silence silence = Silence::kFails;
};

using Texts = std::vector<generation::LongText>;
using ListTexts = Result<Texts>;

template <typename... Made>
Texts TextsOf(Made&&... made)
{
    Texts texts;
    (texts.push_back(std::forward<Made>(made)), ...);
    return texts;
}

// The makers. They may throw SQLite::Exception.
ListTexts AliasTexts(const ListSources& sources);
ListTexts CopyTexts(const ListSources& sources);
ListTexts AccessTexts(const ListSources& sources);
ListTexts QuotaTexts(const ListSources& sources);
ListTexts BlackWhiteTexts(const ListSources& sources);
ListTexts AttachmentTexts(const ListSources& sources);

/// Where the entries of a list are stored.
enum class ListStore {
    kAliasDatabase,  ///< etc/alias.db
    kListDatabase,   ///< etc/mailvane.db
    kTypesFile       ///< etc/attachment_types
};

struct List {
    std::string_view name;  ///< a word: in the log, and in the mark of a change
    ListStore store;
    const stores::RuleList* rules;  ///< its table, columns and file format; null for other lists
    std::string_view maps;          ///< compiled for lookups, in postfix/maps
    std::string_view files;         ///< read as they are: paths in a generation
    ListTexts (&make)(const ListSources& sources);
};

inline constexpr List kLists[] = {
    {"aliases", ListStore::kAliasDatabase, nullptr, "aliases login_aliases waiting_aliases", "",
     AliasTexts},
    {"copies", ListStore::kListDatabase, &stores::kBccRules, "sender_bcc recipient_bcc", "",
     CopyTexts},
    {"access", ListStore::kListDatabase, &stores::kAccessRules,
     "sender_access recipient_access discarded_recipients recipient_transport client_access"
     " client_addresses",
     generation::kClientNetworksFile, AccessTexts},
    {"quotas", ListStore::kListDatabase, nullptr, "", generation::kQuotaFile, QuotaTexts},
    {"black_white", ListStore::kListDatabase, &stores::kBlackWhiteRules,
     "black_senders black_recipients",
     "postfix/maps/black_clients amavis/white_senders"
     " amavis/black_recipients amavis/white_recipients amavis/black_clients amavis/white_clients",
     BlackWhiteTexts},
    {"attachments", ListStore::kTypesFile, nullptr, "",
     "postfix/maps/attachment_checks amavis/banned_types", AttachmentTexts},
};

/// The row of a name; null when there is none.
constexpr const List* FindList(std::string_view name)
{
    for (const List& list : kLists) {
        if (list.name == name) return &list;
    }
    return nullptr;
}

inline constexpr const List& kAliasList = *FindList("aliases");
inline constexpr const List& kCopyList = *FindList("copies");
inline constexpr const List& kAccessList = *FindList("access");
inline constexpr const List& kQuotaList = *FindList("quotas");
inline constexpr const List& kBlackWhiteList = *FindList("black_white");
inline constexpr const List& kAttachmentList = *FindList("attachments");

/// Whether its entries belong to one account combination.
constexpr bool IsOfAccounts(const List& list)
{
    return list.store != ListStore::kTypesFile;
}

/// The files of a list, as they are to be in the next generation. Throws what its maker throws.
Result<std::vector<generation::ListFile>> MakeFiles(const List& list, const ListSources& sources);

/// The same of an empty list.
std::vector<generation::ListFile> EmptyFiles(const List& list);

}  // namespace host::render
