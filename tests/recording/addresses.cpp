// Aliases, access lists, blind copies, sender quotas and attachment types: changes are noted, not
// carried out.
#include <algorithm>

#include "platform/mailvane/attachment_filter.h"
#include "platform/mailvane/filter.h"
#include "tests/recording/call.h"

using recording::Call;
using recording::CallOr;
using recording::TheWorld;
using recording::WriteExport;

namespace {

using recording::Line;
using recording::Word;

using Text = std::string;
using Texts = std::list<std::string>;
using Members = std::list<MemberInfo>;

recording::Words Describe(const Filter& filter)
{
    return {Line("{start", filter.start) + " " + Line("limit", filter.limit) + " " +
            Line("search", filter.searchType, filter.searchKey) + "}"};
}

recording::Words Describe(const Members& members)
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
NOTED(Alias::load, (), ());
NOTED(Alias::save, (), ());

std::list<std::string> Alias::getAliasNameList()
{
    recording::Detail("Alias::getAliasNameList");
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

NOTED(Alias::addMember, (const Text& alias, const Members& members), (alias, Describe(members)));
NOTED(Alias::delMember, (const Text& alias, const Members& members), (alias, Describe(members)));
NOTED(Alias::changeAliasName, (const Text& from, const Text& to), (from, to));
NOTED(Alias::delAlias, (const Texts& names), (names));
DONE(Alias::ExportAlias, (const Text& path), (path), WriteExport(path));
NOTED(Alias::ImportAlias, (const Text& path), (path));

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

NOTED_OR(TheWorld().access.size(), Access::getTotalAccessNum, (const Filter& filter),
         (Describe(filter)));
GIVEN(std::list<AccessInfo>, Access::getAllAccessList, (const Filter& filter), (Describe(filter)),
      TheWorld().access);
NOTED(Access::addAccess, (Type type, NameType nameType, const Text& name, AccessStatus status),
      (type, nameType, name, status));
NOTED(Access::deleteAccess, (const std::list<AccessInfo>& entries), (Describe(entries)));
DONE(Access::exportAccess, (Type type, const Text& path), (type, path), WriteExport(path));
NOTED(Access::importAccess, (Type type, const Text& path), (type, path));
NOTED(Access::GenerateAccessMap, (), ());

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

NOTED_OR(TheWorld().bcc.size(), BCC::getTotalBccNum, (const Filter& filter), (Describe(filter)));
GIVEN(std::list<BccInfo>, BCC::getAllBCCList, (const Filter& filter), (Describe(filter)),
      TheWorld().bcc);
GIVEN(std::string, BCC::getAlwaysBCC, (), (), TheWorld().alwaysBcc);
NOTED(BCC::addBCC, (BccType type, const Text& name, const Text& bccTo), (type, name, bccTo));
NOTED(BCC::deleteBCC, (const std::list<BccInfo>& rules), (Describe(rules)));
DONE(BCC::exportBCC, (BccType type, const Text& path), (type, path), WriteExport(path));
NOTED(BCC::importBCC, (BccType type, const Text& path), (type, path));
NOTED(BCC::GenerateBccMap, (), ());

DONE_OR(TheWorld().quotas.size(), SenderQuota::GetSettingList,
        (std::list<Setting> & settings, unsigned int start, unsigned int limit), (start, limit),
        settings = TheWorld().quotas);
NOTED(SenderQuota::Set, (const Text& saslSender, unsigned int quota), (saslSender, quota));
NOTED(SenderQuota::DeleteList, (const Texts& saslSenders), (saslSenders));
NOTED(SenderQuota::GenerateConfig, (), ());

DONE_OR(TheWorld().attachmentTypes.size(), AttachmentFilter::GetList,
        (Texts & types, const Text& query), (query), types = TheWorld().attachmentTypes);
NOTED(AttachmentFilter::Delete, (const Texts& types), (types));
NOTED(AttachmentFilter::Add, (const Texts& types), (types));
NOTED(AttachmentFilter::GenerateConfig, (), ());
