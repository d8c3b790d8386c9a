// Aliases, access lists, blind copies, sender quotas and attachment types: changes are noted, not
// carried out.
#include "platform/mailvane/attachment_filter.h"
#include "tests/recording/lists.h"

using recording::Call;
using recording::CallOr;
using recording::Detail;
using recording::Export;
using recording::TheWorld;

namespace {

using recording::Describe;
using recording::Line;
using recording::Word;

recording::Words Describe(const std::list<MemberInfo>& members)
{
    return recording::ListWords(members, [](const MemberInfo& member) {
        return Line(Word(member.name).c_str(), member.type);
    });
}

recording::Words Describe(const std::list<AccessInfo>& entries)
{
    return recording::ListWords(entries, [](const AccessInfo& entry) {
        return Line(Word(entry.name).c_str(), entry.status, entry.type, entry.nameType);
    });
}

recording::Words Describe(const std::list<BccInfo>& rules)
{
    return recording::ListWords(rules, [](const BccInfo& rule) {
        return Line(Word(rule.name).c_str(), rule.bccTo, rule.type);
    });
}

}  // namespace

Alias::Alias() : state_(nullptr) {}

Alias::~Alias() {}

int Alias::load()
{
    return Call("Alias::load");
}

int Alias::save()
{
    return Call("Alias::save");
}

std::list<std::string> Alias::getAliasNameList()
{
    Detail("Alias::getAliasNameList");
    std::list<std::string> names;
    for (const auto& entry : TheWorld().aliases) names.push_back(entry.first);
    return names;
}

int Alias::loadMember(const std::string& alias, std::list<MemberInfo>& members)
{
    const auto& table = TheWorld().aliases;
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const auto& entry) { return entry.first == alias; });
    const int result = CallOr(found == table.end() ? -1 : 0, "Alias::loadMember", alias);
    if (result >= 0 && found != table.end()) members = found->second;
    return result;
}

int Alias::addMember(const std::string& alias, const std::list<MemberInfo>& members)
{
    return Call("Alias::addMember", alias, Describe(members));
}

int Alias::delMember(const std::string& alias, const std::list<MemberInfo>& members)
{
    return Call("Alias::delMember", alias, Describe(members));
}

int Alias::changeAliasName(const std::string& from, const std::string& to)
{
    return Call("Alias::changeAliasName", from, to);
}

int Alias::delAlias(const std::list<std::string>& names)
{
    return Call("Alias::delAlias", names);
}

int Alias::ExportAlias(const std::string& path)
{
    return Export(Call("Alias::ExportAlias", path), path);
}

int Alias::ImportAlias(const std::string& path)
{
    return Call("Alias::ImportAlias", path);
}

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
    return CallOr(static_cast<int>(TheWorld().access.size()), "Access::getTotalAccessNum",
                  Describe(filter));
}

std::list<AccessInfo> Access::getAllAccessList(const Filter& filter)
{
    Call("Access::getAllAccessList", Describe(filter));
    return TheWorld().access;
}

int Access::addAccess(Type type, NameType nameType, const std::string& name, AccessStatus status)
{
    return Call("Access::addAccess", type, nameType, name, status);
}

int Access::deleteAccess(const std::list<AccessInfo>& entries)
{
    return Call("Access::deleteAccess", Describe(entries));
}

int Access::exportAccess(Type type, const std::string& path)
{
    return Export(Call("Access::exportAccess", type, path), path);
}

int Access::importAccess(Type type, const std::string& path)
{
    return Call("Access::importAccess", type, path);
}

int Access::GenerateAccessMap()
{
    return Call("Access::GenerateAccessMap");
}

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
    return CallOr(static_cast<int>(TheWorld().bcc.size()), "BCC::getTotalBccNum", Describe(filter));
}

std::list<BccInfo> BCC::getAllBCCList(const Filter& filter)
{
    Call("BCC::getAllBCCList", Describe(filter));
    return TheWorld().bcc;
}

std::string BCC::getAlwaysBCC()
{
    Call("BCC::getAlwaysBCC");
    return TheWorld().alwaysBcc;
}

int BCC::addBCC(BccType type, const std::string& name, const std::string& bccTo)
{
    return Call("BCC::addBCC", type, name, bccTo);
}

int BCC::deleteBCC(const std::list<BccInfo>& rules)
{
    return Call("BCC::deleteBCC", Describe(rules));
}

int BCC::exportBCC(BccType type, const std::string& path)
{
    return Export(Call("BCC::exportBCC", type, path), path);
}

int BCC::importBCC(BccType type, const std::string& path)
{
    return Call("BCC::importBCC", type, path);
}

int BCC::GenerateBccMap()
{
    return Call("BCC::GenerateBccMap");
}

int SenderQuota::GetSettingList(std::list<Setting>& settings, unsigned int start,
                                unsigned int limit)
{
    const int result = CallOr(static_cast<int>(TheWorld().quotas.size()),
                              "SenderQuota::GetSettingList", start, limit);
    if (result >= 0) settings = TheWorld().quotas;
    return result;
}

int SenderQuota::Set(const std::string& saslSender, unsigned int quota)
{
    return Call("SenderQuota::Set", saslSender, quota);
}

int SenderQuota::DeleteList(const std::list<std::string>& saslSenders)
{
    return Call("SenderQuota::DeleteList", saslSenders);
}

int SenderQuota::GenerateConfig()
{
    return Call("SenderQuota::GenerateConfig");
}

int AttachmentFilter::GetList(std::list<std::string>& types, const std::string& query)
{
    const int result = CallOr(static_cast<int>(TheWorld().attachmentTypes.size()),
                              "AttachmentFilter::GetList", query);
    if (result >= 0) types = TheWorld().attachmentTypes;
    return result;
}

int AttachmentFilter::Delete(const std::list<std::string>& types)
{
    return Call("AttachmentFilter::Delete", types);
}

int AttachmentFilter::Add(const std::list<std::string>& types)
{
    return Call("AttachmentFilter::Add", types);
}

int AttachmentFilter::GenerateConfig()
{
    return Call("AttachmentFilter::GenerateConfig");
}
