// Aliases, access lists, blind copies, sender quotas and attachment types, kept in memory.
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

struct Alias::State {
    decltype(TheWorld().aliases) table;
    bool loaded = false;

    std::list<MemberInfo>* Find(const std::string& alias)
    {
        for (auto& entry : table) {
            if (entry.first == alias) return &entry.second;
        }
        return nullptr;
    }
};

Alias::Alias() : state_(new State) {}

Alias::~Alias()
{
    delete state_;
}

int Alias::load()
{
    const int result = Call("Alias::load");
    state_->loaded = result >= 0;
    if (state_->loaded) state_->table = TheWorld().aliases;
    return result;
}

int Alias::save()
{
    const int result = Call("Alias::save");
    if (result >= 0 && state_->loaded) TheWorld().aliases = state_->table;
    return result;
}

std::list<std::string> Alias::getAliasNameList()
{
    Detail("Alias::getAliasNameList");
    std::list<std::string> names;
    for (const auto& entry : state_->table) names.push_back(entry.first);
    return names;
}

int Alias::loadMember(const std::string& alias, std::list<MemberInfo>& members)
{
    const std::list<MemberInfo>* found = state_->Find(alias);
    const int result = CallOr(found == nullptr ? -1 : 0, "Alias::loadMember", alias);
    if (result >= 0 && found != nullptr) members = *found;
    return result;
}

int Alias::addMember(const std::string& alias, const std::list<MemberInfo>& members)
{
    const int result = Call("Alias::addMember", alias, Describe(members));
    if (result < 0) return result;

    if (state_->Find(alias) == nullptr) state_->table.emplace_back(alias, std::list<MemberInfo>());
    std::list<MemberInfo>& all = *state_->Find(alias);
    all.insert(all.end(), members.begin(), members.end());
    return result;
}

int Alias::delMember(const std::string& alias, const std::list<MemberInfo>& members)
{
    std::list<MemberInfo>* all = state_->Find(alias);
    const int result =
        CallOr(all == nullptr ? -1 : 0, "Alias::delMember", alias, Describe(members));
    if (result < 0 || all == nullptr) return result;

    for (const MemberInfo& gone : members) {
        all->remove_if([&gone](const MemberInfo& member) {
            return member.name == gone.name && member.type == gone.type;
        });
    }
    return result;
}

int Alias::changeAliasName(const std::string& from, const std::string& to)
{
    const int result = Call("Alias::changeAliasName", from, to);
    for (auto& entry : state_->table) {
        if (result >= 0 && entry.first == from) entry.first = to;
    }
    return result;
}

int Alias::delAlias(const std::list<std::string>& names)
{
    const int result = Call("Alias::delAlias", names);
    if (result < 0) return result;

    auto& table = state_->table;
    const auto isGone = [&names](const auto& entry) {
        return std::find(names.begin(), names.end(), entry.first) != names.end();
    };
    table.erase(std::remove_if(table.begin(), table.end(), isGone), table.end());
    return result;
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
    const int result = Call("Access::addAccess", type, nameType, name, status);
    if (result >= 0) TheWorld().access.push_back({name, status, type, nameType});
    return result;
}

int Access::deleteAccess(const std::list<AccessInfo>& entries)
{
    const int result = Call("Access::deleteAccess", Describe(entries));
    if (result < 0) return result;

    for (const AccessInfo& gone : entries) {
        TheWorld().access.remove_if([&gone](const AccessInfo& entry) {
            return entry.name == gone.name && entry.type == gone.type &&
                   entry.nameType == gone.nameType;
        });
    }
    return result;
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
    const int result = Call("BCC::addBCC", type, name, bccTo);
    if (result < 0) return result;

    if (type == BCC_ALWAYS) {
        TheWorld().alwaysBcc = bccTo;
    } else {
        TheWorld().bcc.push_back({name, bccTo, type});
    }
    return result;
}

int BCC::deleteBCC(const std::list<BccInfo>& rules)
{
    const int result = Call("BCC::deleteBCC", Describe(rules));
    if (result < 0) return result;

    for (const BccInfo& gone : rules) {
        if (gone.type == BCC_ALWAYS) TheWorld().alwaysBcc.clear();
        TheWorld().bcc.remove_if([&gone](const BccInfo& rule) {
            return rule.name == gone.name && rule.type == gone.type;
        });
    }
    return result;
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
    const int result = Call("SenderQuota::Set", saslSender, quota);
    if (result >= 0) TheWorld().quotas.push_back({saslSender, quota});
    return result;
}

int SenderQuota::DeleteList(const std::list<std::string>& saslSenders)
{
    const int result = Call("SenderQuota::DeleteList", saslSenders);
    for (const std::string& gone : saslSenders) {
        TheWorld().quotas.remove_if([&gone, result](const Setting& setting) {
            return result >= 0 && setting.sasl_sender == gone;
        });
    }
    return result;
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
    const int result = Call("AttachmentFilter::Delete", types);
    for (const std::string& gone : types) {
        if (result >= 0) TheWorld().attachmentTypes.remove(gone);
    }
    return result;
}

int AttachmentFilter::Add(const std::list<std::string>& types)
{
    const int result = Call("AttachmentFilter::Add", types);
    auto& all = TheWorld().attachmentTypes;
    if (result >= 0) all.insert(all.end(), types.begin(), types.end());
    return result;
}

int AttachmentFilter::GenerateConfig()
{
    return Call("AttachmentFilter::GenerateConfig");
}
