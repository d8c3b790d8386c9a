// Fuzz target: an imported file of aliases, and whom its aliases reach.
#include <set>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/render/alias_expansion.h"
#include "host/libmailvane/stores/alias_text.h"
#include "tests/fuzz/fuzz.h"

namespace {

using host::stores::AliasTable;

std::vector<std::string> MembersOf(const std::string& group)
{
    return {"alice", "a b", group, group + "s", "x\n|y"};
}

/// What is exported is read again as it was.
void ExpectSameAgain(AliasTable& table)
{
    const std::string text = AliasText(table);
    AliasTable copy;
    const auto again = ImportAliasText(fuzz::NewFile("again", text), copy);
    fuzz::Expect(static_cast<bool>(again));
    fuzz::Expect(AliasText(copy) == text);
}

/// Each recipient once, no more of them than there are names, none that could be more than a name
/// in a map.
void JudgeRecipients(const host::render::Recipients& recipients, std::size_t most)
{
    std::set<std::string> seen;
    for (const auto& list : {recipients.users, recipients.outside}) {
        for (const std::string& name : list) {
            fuzz::Expect(name.find_first_of(" \t\r\n,|:\"\\") == std::string::npos);
            fuzz::Expect(seen.insert(host::InLowerCase(name)).second);
        }
    }
    fuzz::Expect(seen.size() <= most);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    AliasTable table;
    const std::string path = fuzz::NewFile("aliases", fuzz::Text(data, size));
    if (!ImportAliasText(path, table)) return 0;

    ExpectSameAgain(table);
    std::vector<host::stores::AliasEntry> aliases;
    std::size_t names = 0;
    (void)host::stores::EachAlias(table.database(), [&](const auto& alias) -> host::Result<void> {
        ++names;
        for (const auto& member : table.Members(alias)) names += member.type == 1 ? 5 : 1;
        aliases.push_back(alias);
        return {};
    });
    host::render::AliasExpansion expansion(table.database(), {"mv.test", "Two.test"}, MembersOf);
    expansion.AddRole("root", "alice");
    for (const auto& alias : aliases) {
        if (const auto recipients = expansion.Expand(alias))
            JudgeRecipients(*recipients, names + 1);
    }
    return 0;
}
