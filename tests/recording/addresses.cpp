// Aliases, access lists, blind copies, sender quotas and attachment types: changes are noted, not
// carried out.
#include <algorithm>

#include "platform/mailvane/attachment_filter.h"
#include "platform/mailvane/filter.h"
#include "tests/recording/call.h"

using namespace recording;

namespace {

using Text = std::string;
using Texts = std::list<std::string>;
using Members = std::list<MemberInfo>;

Words Describe(const Filter& filter)
{
    return {Line("{start", filter.start) + " " + Line("limit", filter.limit) + " " +
            Line("search", filter.searchType, filter.searchKey) + "}"};
}

Words Describe(const Members& members)
{
    return ListWords(members, [](const MemberInfo& member) {
        return Line(Word(member.name).c_str(), member.type);
    });
}

Words Describe(const std::list<AccessInfo>& entries)
{
    return ListWords(entries, [](const AccessInfo& entry) {
        return Line(Word(entry.name).c_str(), entry.status, entry.type, entry.nameType);
    });
}

Words Describe(const std::list<BccInfo>& rules)
{
    return ListWords(rules, [](const BccInfo& rule) {
        return Line(Word(rule.name).c_str(), rule.bccTo, rule.type);
    });
}

}  // namespace

Alias::Alias() : state_(nullptr) {}
Alias::~Alias() {}
int Alias::load() { return Call("Alias::load"); }
int Alias::save() { return Call("Alias::save"); }

std::list<std::string> Alias::getAliasNameList()
{
    Detail("Alias::getAliasNameList");
    std::list<std::string> names;
    for (const auto& entry : TheWorld().aliases) names.push_back(entry.first);
    return names;
}

int Alias::loadMember(const std::string& alias, Members& members)
{
    const auto& table = TheWorld().aliases;
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const auto& entry) { return entry.first == alias; });
    const int result = CallOr(found == table.end() ? -1 : 0, "Alias::loadMember", alias);
    if (result >= 0 && found != table.end()) members = found->second;
    return result;
}

int Alias::addMember(const Text& alias, const Members& members)
{
    return Call("Alias::addMember", alias, Describe(members));
}
int Alias::delMember(const Text& alias, const Members& members)
{
    return Call("Alias::delMember", alias, Describe(members));
}
int Alias::changeAliasName(const Text& from, const Text& to)
{
    return Call("Alias::changeAliasName", from, to);
}
int Alias::delAlias(const Texts& names) { return Call("Alias::delAlias", names); }
int Alias::ExportAlias(const Text& path) { return Export(path, Call("Alias::ExportAlias", path)); }
int Alias::ImportAlias(const Text& path) { return Call("Alias::ImportAlias", path); }

Access::Access() : state_(nullptr) {}

Access::~Access()
{
    Call("Access::~Access");
    TheWorld().accessObjects.erase(this);
}

Access* Access::getInstance()
{
    if (Call("Access::getInstance") < 0) return nullptr;

    return *TheWorld().accessObjects.insert(new Access).first;
}

int Access::getTotalAccessNum(const Filter& filter)
{
    return CallOr(TheWorld().access.size(), "Access::getTotalAccessNum", Describe(filter));
}
std::list<AccessInfo> Access::getAllAccessList(const Filter& filter)
{
    return Given(TheWorld().access, "Access::getAllAccessList", Describe(filter));
}
int Access::addAccess(Type type, NameType nameType, const Text& name, AccessStatus status)
{
    return Call("Access::addAccess", type, nameType, name, status);
}
int Access::deleteAccess(const std::list<AccessInfo>& entries)
{
    return Call("Access::deleteAccess", Describe(entries));
}
int Access::exportAccess(Type type, const Text& path)
{
    return Export(path, Call("Access::exportAccess", type, path));
}
int Access::importAccess(Type type, const Text& path)
{
    return Call("Access::importAccess", type, path);
}
int Access::GenerateAccessMap() { return Call("Access::GenerateAccessMap"); }

AccessStatus Access::StrToStatus(const char* text)
{
    const std::string word = text;
    if (word == "OK") return ACCESS_OK;
    if (word == "REJECT") return ACCESS_REJECT;
    return word == "DISCARD" ? ACCESS_DISCARD : ACCESS_UNKNOWN;
}

std::string Access::StatusToStr(AccessStatus status)
{
    const char* const words[] = {"OK", "REJECT", "DISCARD", ""};
    return words[std::clamp<int>(status, ACCESS_OK, ACCESS_UNKNOWN)];
}

BCC::BCC() : state_(nullptr) {}
BCC::~BCC() {}

BCC* BCC::getInstance()
{
    static BCC instance;
    return Call("BCC::getInstance") < 0 ? nullptr : &instance;
}

int BCC::getTotalBccNum(const Filter& filter)
{
    return CallOr(TheWorld().bcc.size(), "BCC::getTotalBccNum", Describe(filter));
}
std::list<BccInfo> BCC::getAllBCCList(const Filter& filter)
{
    return Given(TheWorld().bcc, "BCC::getAllBCCList", Describe(filter));
}
std::string BCC::getAlwaysBCC() { return Given(TheWorld().alwaysBcc, "BCC::getAlwaysBCC"); }
int BCC::addBCC(BccType type, const Text& name, const Text& bccTo)
{
    return Call("BCC::addBCC", type, name, bccTo);
}
int BCC::deleteBCC(const std::list<BccInfo>& rules)
{
    return Call("BCC::deleteBCC", Describe(rules));
}
int BCC::exportBCC(BccType type, const Text& path)
{
    return Export(path, Call("BCC::exportBCC", type, path));
}
int BCC::importBCC(BccType type, const Text& path) { return Call("BCC::importBCC", type, path); }
int BCC::GenerateBccMap() { return Call("BCC::GenerateBccMap"); }

int SenderQuota::GetSettingList(std::list<Setting>& settings, unsigned int start,
                                unsigned int limit)
{
    return Fill(settings, TheWorld().quotas,
                CallOr(TheWorld().quotas.size(), "SenderQuota::GetSettingList", start, limit));
}
int SenderQuota::Set(const Text& saslSender, unsigned int quota)
{
    return Call("SenderQuota::Set", saslSender, quota);
}
int SenderQuota::DeleteList(const Texts& saslSenders)
{
    return Call("SenderQuota::DeleteList", saslSenders);
}
int SenderQuota::GenerateConfig() { return Call("SenderQuota::GenerateConfig"); }

int AttachmentFilter::GetList(Texts& types, const Text& query)
{
    return Fill(types, TheWorld().attachmentTypes,
                CallOr(TheWorld().attachmentTypes.size(), "AttachmentFilter::GetList", query));
}
int AttachmentFilter::Delete(const Texts& types) { return Call("AttachmentFilter::Delete", types); }
int AttachmentFilter::Add(const Texts& types) { return Call("AttachmentFilter::Add", types); }
int AttachmentFilter::GenerateConfig() { return Call("AttachmentFilter::GenerateConfig"); }
