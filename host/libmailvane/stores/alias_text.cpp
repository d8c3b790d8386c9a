// Aliases as text, one a line.
#include "host/libmailvane/stores/alias_text.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/alias_names.h"
#include "host/libmailvane/names/list_names.h"
#include "host/libmailvane/names/list_text.h"

namespace host::stores {
namespace {

constexpr char kGroupMark = '%';
constexpr char kUserMark = '\\';
constexpr int kBareName = -1;  // an alias or a user: known once the whole file is read

std::string MemberText(const std::unordered_set<std::string>& aliases, const MemberInfo& member)
{
    if (member.type == names::kGroupMember) return kGroupMark + member.name;
    const bool ambiguous =
        member.type == names::kUserMember && aliases.count(InLowerCase(member.name)) != 0;
    return ambiguous ? kUserMark + member.name : member.name;
}

MemberInfo ParseMember(std::string_view text)
{
    MemberInfo member;
    member.type = kBareName;
    if (text.front() == kGroupMark) {
        member.type = names::kGroupMember;
    } else if (text.front() == kUserMark) {
        member.type = names::kUserMember;
    } else if (text.find('@') != std::string_view::npos) {
        member.type = names::kOutsideMember;
    }
    const bool marked = member.type == names::kGroupMember || member.type == names::kUserMember;
    member.name = Trim(text.substr(marked ? 1 : 0));
    return names::StoredMember(std::move(member));
}

/// Refuses a bare name that no user could have; names of aliases are a subset of those.
Result<void> Check(MemberInfo member)
{
    if (member.type == kBareName) member.type = names::kUserMember;
    return names::CheckMember(member);
}

/// Reads the lines of a file one after the other.
class AliasLines {
public:
    explicit AliasLines(IncomingAliases& incoming) : incoming_(incoming) {}

    Result<void> Take(const std::string& line)
    {
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos) return TakeAlias(line, colon);
        if (!open_) {
            return Reason{ReasonCode::kNoEntry, line, "no colon after the name of an alias"};
        }
        return TakeMembers(line);
    }

private:
    Result<void> TakeAlias(const std::string& line, std::size_t colon)
    {
        const std::string name(Trim(std::string_view(line).substr(0, colon)));
        open_ = true;  // lines of members may follow, even when the name is refused
        const bool isName = names::IsLocalPart(name);
        const bool isNew = isName && incoming_.Begin(name);
        Result<void> taken = TakeMembers(line.substr(colon + 1));
        if (!isName) return Reason{ReasonCode::kNoName, name, "no name of an alias"};
        if (!isNew) {
            return Reason{ReasonCode::kGivenTwice, name, "an alias that stands in the file twice"};
        }
        return taken;
    }

    /// Reads members. A list that is empty so far or ends with a comma goes on in the next line.
    Result<void> TakeMembers(std::string_view text)
    {
        text = Trim(text);
        Result<void> taken;
        if (text.empty()) return taken;

        open_ = text.back() == ',';
        while (!text.empty()) {
            const std::size_t end = std::min(text.find(','), text.size());
            const std::string_view word = Trim(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
            if (word.empty()) continue;

            const MemberInfo member = ParseMember(word);
            if (taken) taken = Check(member);
            incoming_.AddMember(member);
        }
        return taken;
    }

    IncomingAliases& incoming_;
    bool open_ = false;
};

}  // namespace

std::string AliasText(AliasTable& table)
{
    std::unordered_set<std::string> aliases;
    for (const std::string& name : table.Names()) aliases.insert(InLowerCase(name));
    std::string text;
    AliasReader reader(table.database());
    while (reader.Next()) {
        text += reader.name() + ":";
        const char* separator = " ";
        for (const MemberInfo& member : reader.members()) {
            text += separator + MemberText(aliases, member);
            separator = ", ";
        }
        text += "\n";
    }
    return text;
}

Result<int> ImportAliasText(const std::string& path, AliasTable& table)
{
    IncomingAliases incoming(table.database(), table.draft());
    AliasLines lines(incoming);
    const auto take = [&lines](const std::string& line) { return lines.Take(line); };
    Result<void> taken = names::ReadListText(path, take);
    if (!taken) return std::move(taken).reason();

    return incoming.Finish();
}

}  // namespace host::stores
