// Maps and files that the lists of the package fill: made from the stores, put in force as a
// generation of their own.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace host {

/// One file of the next generation that a list fills.
struct ListFile {
    std::string name;  ///< of a map in postfix/maps, or a path in the generation
    std::string text;
    bool isMap = true;  ///< compiled for lookups
};

/// Path in a generation of what the rate policy reads.
constexpr char kQuotaFile[] = "policy/limits";

/// Paths of tables that Postfix reads as they are.
constexpr char kClientNetworksFile[] = "postfix/maps/client_networks";
constexpr char kBlackClientsFile[] = "postfix/maps/black_clients";
constexpr char kAttachmentChecksFile[] = "postfix/maps/attachment_checks";

/// What each list fills, from its store; a missing store is an empty one. Throw when a store cannot
/// be read. Aliases fill the map of the logins that may send from them as well; that one alone is
/// made by LoginFiles.
std::vector<ListFile> AliasFiles();
std::vector<ListFile> LoginFiles();
std::vector<ListFile> BlindCopyFiles();
std::vector<ListFile> AccessFiles();
std::vector<ListFile> QuotaFiles();
std::vector<ListFile> BlackWhiteFiles();
std::vector<ListFile> AttachmentFiles();

/// Makes the files of one or more lists and puts them in force together; Postfix takes them at
/// once, or with the save that is under way. `makers` are the functions above, or
/// others like them. 0; negative on
/// failure, what was in force then still is.
using ListFileMaker = std::function<std::vector<ListFile>()>;
int RebuildLists(const std::vector<ListFileMaker>& makers);

/// All lists whose entries belong to one account combination.
std::vector<ListFileMaker> AccountLists();

}  // namespace host
