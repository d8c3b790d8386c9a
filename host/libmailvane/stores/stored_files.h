// The table of stored files: all that the package keeps in etc/, with owner and mode, and what a
// backup holds of it. Restores, rollbacks of exchanges and the checks of a staged state follow it;
// packaging/machine/file_modes and the names that mailvanectl knows are held against it by a test.
// What is not here is not the package's. A purge takes the whole folder away.
//
// To add a stored file: a row here, a row of file_modes, and, when a backup is to hold it, a row in
// tools/mailvane/ctl/stored_files.py.
#pragma once

#include <string_view>

namespace host::stores {

/// How a stored file changes.
enum class Keeping {
    kInGeneration,     ///< with the settings: etc/NAME leads into the generation in force
    kDatabase,         ///< by transactions of its own; belongs to one account combination
    kPlain,            ///< replaced whole
    kFolder,           ///< its files are replaced one by one
    kFolderOnRequest,  ///< a folder that a restore leaves as it is, unless it is asked to bring one
    kNotExchanged      ///< no backup holds it: made anew, or of this machine alone
};

struct StoredFile {
    std::string_view name;  ///< in etc/
    std::string_view owner;
    std::string_view group;
    Keeping keeping;
    unsigned mode;
};

inline constexpr StoredFile kStoredFiles[] = {
    {"mailvane.conf", "root", "root", Keeping::kInGeneration, 0600},
    {"domains", "root", "root", Keeping::kInGeneration, 0644},
    {"dnsbl", "root", "root", Keeping::kInGeneration, 0644},
    {"alias.db", "root", "root", Keeping::kDatabase, 0600},
    {"mailvane.db", "root", "root", Keeping::kDatabase, 0600},
    {"attachment_types", "root", "root", Keeping::kPlain, 0644},
    {"rules", "root", "root", Keeping::kFolder, 0755},
    {"dkim.key", "root", "root", Keeping::kFolder, 0700},
    {"tls", "root", "root", Keeping::kFolder, 0755},
    {"personal", "root", "root", Keeping::kFolder, 0700},
    {"report.conf", "root", "root", Keeping::kPlain, 0600},
    {"htpasswd", "root", "mailvane-web", Keeping::kPlain, 0640},
    {"local.d", "root", "root", Keeping::kFolderOnRequest, 0755},
    {"report.state", "root", "root", Keeping::kPlain, 0600},
    {"lock", "root", "root", Keeping::kNotExchanged, 0600},
    {"firewall.nft", "root", "root", Keeping::kNotExchanged, 0644},
    {"firewall.nft.lifted", "root", "root", Keeping::kNotExchanged, 0644},
    {"adopted", "root", "root", Keeping::kNotExchanged, 0700},
    {"originals*", "root", "root", Keeping::kNotExchanged, 0700},
    {"edited", "root", "root", Keeping::kNotExchanged, 0700},
    {"dkim.signer", "root", "opendkim", Keeping::kNotExchanged, 0750},
    {"unconfirmed", "root", "root", Keeping::kNotExchanged, 0700},
    {"generated", "root", "root", Keeping::kNotExchanged, 0755},
};

/// The name under which a backup holds the rules of the spam filter that are in force, which no
/// file in etc/ has.
inline constexpr std::string_view kStagedRules = "rules.cf";

/// Whether an exchange moves it: it is stored beside the generations, and backups hold it.
constexpr bool IsExchanged(const StoredFile& file)
{
    return file.keeping != Keeping::kInGeneration && file.keeping != Keeping::kNotExchanged;
}

/// The row of a name; null when there is none. Names of rows with an asterisk are nobody's.
constexpr const StoredFile* FindStoredFile(std::string_view name)
{
    for (const StoredFile& file : kStoredFiles) {
        if (file.name == name) return &file;
    }
    return nullptr;
}

}  // namespace host::stores
