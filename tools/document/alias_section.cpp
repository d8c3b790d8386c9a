// The section of the aliases. What the document says of them is imported as a file of aliases is.
#include <algorithm>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/alias_text.h"
#include "host/libmailvane/system/database.h"
#include "tools/document/section.h"
#include "tools/document/yaml_text.h"

namespace document {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::stores::AccountDatabase;
using host::stores::AliasTable;

constexpr char kImport[] = "/aliases.txt";

/// The members of an alias, which a comma separates in the text of the table.
std::string MembersOf(const std::string& text)
{
    std::string members;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');) {
        members += "  - " + Quoted(std::string(host::Trim(word))) + "\n";
    }
    return members.empty() ? " []\n" : "\n" + members;
}

bool CanBeName(const std::string& name)
{
    return !name.empty() && name.front() != '#' && name.find(':') == std::string::npos &&
           host::names::IsPlainText(name) && host::Trim(name) == name;
}

/// Whether a text can be one line of members: no alias and no comment of the file of an import.
bool CanBeMember(const std::string& text)
{
    return text.front() != '#' && text.find_first_of(":,") == std::string::npos;
}

/// The aliases of the document as a file for an import: a line for each name and each member.
struct ImportFile {
    struct Place {
        int line;  ///< of the document
        std::string alias;
    };

    std::string text;
    std::vector<Place> places;  ///< of its lines
    std::set<std::string> names;
};

void AddAlias(const Section& section, const Node& name, const Node& members, Merge& merge,
              ImportFile& file)
{
    if (!CanBeName(name.text)) {
        merge.faults.push_back(
            {name.line, PathOf(section, name.text), ReasonCode::kNoName, "is no name of an alias"});
        return;
    }
    file.names.insert(name.text);
    file.text.append(name.text).append(":\n");
    file.places.push_back({name.line, name.text});
    const std::vector<Line> lines = LinesOf(section, members, merge);
    for (const Line& member : lines) {
        if (!CanBeMember(member.text)) {
            merge.faults.push_back({member.line, PathOf(section, name.text), ReasonCode::kNoAddress,
                                    "is no member of an alias"});
            continue;
        }
        // A list goes on behind a comma.
        file.text.append(member.text).append(&member == &lines.back() ? "\n" : ",\n");
        file.places.push_back({member.line, name.text});
    }
}

/// The faults that an import has found, each at its line of the document.
void AddFaults(const Section& section, const Reason& reason, const ImportFile& file, Merge& merge)
{
    for (const Reason& cause : reason.causes) {
        const auto number = static_cast<std::size_t>(cause.about.number());
        if (number == 0 || number > file.places.size()) continue;
        const ImportFile::Place& place = file.places[number - 1];
        merge.faults.push_back(
            {place.line, PathOf(section, place.alias), cause.code, WhyOf(cause)});
    }
    if (reason.causes.empty()) {
        merge.faults.push_back(FaultAt(0, std::string(section.name), reason));
    }
}

Result<void> Store(AliasTable& table)
{
    SQLite::Transaction transaction(table.database());
    Result<void> done = table.draft().Store();
    if (done) transaction.commit();
    return done;
}

/// Removes the aliases that the document does not name.
void Prune(AliasTable& table, const std::set<std::string>& names)
{
    std::list<std::string> gone = table.Names();
    gone.remove_if([&names](const std::string& name) { return names.count(name) > 0; });
    table.Delete(gone);
}

Result<void> Bring(const Section& section, const ImportFile& file, AliasTable& table, Merge& merge)
{
    if (merge.prunes) Prune(table, file.names);
    const std::string path = merge.state.folder + kImport;
    if (!host::ReplaceFile(path, file.text, 0600)) return host::SystemReason(path, path);
    const Result<int> brought = host::stores::ImportAliasText(path, table);
    if (brought) return Store(table);
    AddFaults(section, brought.reason(), file, merge);
    return {};
}

}  // namespace

Result<Entries> ReadAliasSection(const Section& /*section*/, const State& state)
{
    auto store = host::stores::ReadCopy(AccountDatabase::kAlias, state.folder);
    if (!store) return std::move(store).reason();
    const Result<std::string> text = host::system::Attempt("aliases", [&store] {
        AliasTable table(*std::move(store));
        return host::stores::AliasText(table);
    });
    if (!text) return text.reason();
    Entries entries;
    std::istringstream lines(*text);
    for (std::string line; std::getline(lines, line);) {
        const auto colon = line.find(':');
        entries.push_back({line.substr(0, colon), MembersOf(line.substr(colon + 1)), "", ""});
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& one, const Entry& other) {
        return host::InLowerCase(one.key) < host::InLowerCase(other.key);
    });
    return entries;
}

Result<void> MergeAliases(const Section& section, const Node& node, Merge& merge)
{
    if (!IsMap(section, node, merge) && !node.isNothing) return {};
    auto store = host::stores::ChangeCopy(AccountDatabase::kAlias, merge.state.folder);
    if (!store) return std::move(store).reason();

    ImportFile file;
    for (const auto& [name, members] : node.members) {
        AddAlias(section, name, members, merge, file);
    }
    return host::system::Attempt("aliases", [&] {
        AliasTable table(*std::move(store));
        return Bring(section, file, table, merge);
    });
}

}  // namespace document
