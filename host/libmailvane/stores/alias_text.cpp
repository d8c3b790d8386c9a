// Aliases as text, one a line.
#include "host/libmailvane/stores/alias_text.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <unordered_map>
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

std::string MemberText(const AliasTable& table, const MemberInfo& member)
{
    if (member.type == names::kGroupMember) return kGroupMark + member.name;
    const bool ambiguous =
        member.type == names::kUserMember && table.FindAnyCase(member.name) != nullptr;
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
class AliasReader {
public:
    Result<void> Take(const std::string& line)
    {
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos) return TakeAlias(line, colon);
        if (!open_) {
            return Reason{ReasonCode::kNoEntry, line, "no colon after the name of an alias"};
        }
        return TakeMembers(line);
    }

    /// The aliases, once all lines are read, with bare names resolved.
    AliasEntries Resolve(const AliasTable& table)
    {
        for (AliasEntry& alias : aliases_) {
            for (MemberInfo& member : alias.members) ResolveName(table, member);
            DropRepetitions(alias.members);
        }
        return std::move(aliases_);
    }

private:
    Result<void> TakeAlias(const std::string& line, std::size_t colon)
    {
        const std::string name(Trim(std::string_view(line).substr(0, colon)));
        open_ = true;  // lines of members may follow, even when the name is refused
        aliases_.push_back({0, name, {}});
        Result<void> taken = TakeMembers(line.substr(colon + 1));
        if (!names::IsLocalPart(name)) {
            return Reason{ReasonCode::kNoName, name, "no name of an alias"};
        }
        if (!byName_.emplace(InLowerCase(name), &aliases_.back()).second) {
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
            aliases_.back().members.push_back(member);
        }
        return taken;
    }

    void ResolveName(const AliasTable& table, MemberInfo& member) const
    {
        if (member.type != kBareName) return;

        member.type = names::kUserMember;
        const auto here = byName_.find(InLowerCase(member.name));
        const AliasEntry* stored = table.FindAnyCase(member.name);
        if (here == byName_.end() && stored == nullptr) return;

        member.type = names::kAliasMember;
        member.name = (stored != nullptr ? stored : here->second)->name;
    }

    static void DropRepetitions(std::vector<MemberInfo>& members)
    {
        std::set<std::pair<int, std::string>> seen;
        const auto isRepetition = [&seen](const MemberInfo& member) {
            return !seen.emplace(member.type, member.name).second;
        };
        std::vector<MemberInfo> distinct;
        std::copy_if(members.begin(), members.end(), std::back_inserter(distinct),
                     [&](const MemberInfo& member) { return !isRepetition(member); });
        members = std::move(distinct);
    }

    AliasEntries aliases_;
    std::unordered_map<std::string, const AliasEntry*> byName_;  ///< by name in lower case
    bool open_ = false;
};

}  // namespace

std::string AliasText(const AliasTable& table)
{
    std::string text;
    for (const AliasEntry& entry : table.entries()) {
        text += entry.name + ":";
        const char* separator = " ";
        for (const MemberInfo& member : entry.members) {
            text += separator + MemberText(table, member);
            separator = ", ";
        }
        text += "\n";
    }
    return text;
}

Result<AliasEntries> ReadAliasText(const std::string& path, const AliasTable& table)
{
    AliasReader reader;
    const auto take = [&reader](const std::string& line) { return reader.Take(line); };
    Result<void> taken = names::ReadListText(path, take);
    if (!taken) return std::move(taken).reason();

    return reader.Resolve(table);
}

}  // namespace host::stores
