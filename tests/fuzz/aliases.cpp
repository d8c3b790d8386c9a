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
void ExpectSameAgain(const AliasTable& table)
{
    const std::string text = AliasText(table);
    const auto again = host::stores::ReadAliasText(fuzz::NewFile("again", text), AliasTable());
    fuzz::Expect(static_cast<bool>(again));
    AliasTable copy;
    copy.Replace(*again);
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
    const auto read = host::stores::ReadAliasText(path, table);
    if (!read) return 0;

    table.Replace(*read);
    ExpectSameAgain(table);
    std::size_t names = table.entries().size();
    for (const auto& alias : table.entries()) {
        for (const auto& member : alias.members) names += member.type == 1 ? 5 : 1;
    }
    host::render::AliasExpansion expansion(table, {"mv.test", "Two.test"}, MembersOf);
    expansion.AddRole("root", "alice");
    for (const auto& alias : table.entries()) {
        if (const auto recipients = expansion.Expand(alias))
            JudgeRecipients(*recipients, names + 1);
    }
    return 0;
}
