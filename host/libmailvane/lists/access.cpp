// The access lists: who may send, receive, connect. Stored in etc/mailvane.db; in force once their
// maps are rebuilt.
#include "platform/mailvane/access.h"

#include <strings.h>

#include "host/libmailvane/lists/rule_pages.h"

namespace host::lists {
namespace {

const char* const kStatusNames[] = {"OK", "REJECT", "DISCARD"};
constexpr RulePages kPages(render::kAccessList, "access lists");

Result<void> Add(const AccessInfo& entry)
{
    Result<stores::Rule> stored = kPages.Refused(stores::StoredRule(entry));
    if (!stored) return std::move(stored).reason();
    return kPages.Store(kPages.Adding(*std::move(stored)));
}

Result<void> Remove(const std::list<AccessInfo>& entries)
{
    stores::Rules rules;
    for (const AccessInfo& entry : entries) rules.push_back(stores::KeyOf(entry));
    return kPages.Store(kPages.Removing(std::move(rules)));
}

Result<void> Import(Type type, const std::string& path)
{
    return kPages.Store(kPages.Importing(type, path, true));
}

}  // namespace
}  // namespace host::lists

using host::lists::kPages;

Access::Access() : state_(nullptr) {}

Access::~Access() {}

Access* Access::getInstance()
{
    return kPages.CanBeRead() ? new Access : nullptr;
}

int Access::getTotalAccessNum(const Filter& filter)
{
    return kPages.Count(host::stores::SearchOf(kPages.rules(), filter));
}

std::list<AccessInfo> Access::getAllAccessList(const Filter& filter)
{
    const auto search = host::stores::SearchOf(kPages.rules(), filter);
    return host::stores::AccessEntries(kPages.Page(search));
}

int Access::addAccess(Type type, NameType nameType, const std::string& name, AccessStatus status)
{
    return host::Status(host::lists::Add({name, status, type, nameType}));
}

int Access::deleteAccess(const std::list<AccessInfo>& entries)
{
    return kPages.Told(host::lists::Remove(entries));
}

int Access::exportAccess(Type type, const std::string& path)
{
    return kPages.Export(path, [type](SQLite::Database& store) {
        return host::stores::RulesText(store, kPages.rules(), type);
    });
}

int Access::importAccess(Type type, const std::string& path)
{
    return kPages.Told(host::lists::Import(type, path));
}

int Access::GenerateAccessMap()
{
    return host::Status(host::save::ApplyLists({&host::render::kAccessList}));
}

AccessStatus Access::StrToStatus(const char* text)
{
    for (int status = ACCESS_OK; status < ACCESS_UNKNOWN; ++status) {
        if (strcasecmp(text, host::lists::kStatusNames[status]) == 0) {
            return static_cast<AccessStatus>(status);
        }
    }
    return ACCESS_UNKNOWN;
}

std::string Access::StatusToStr(AccessStatus status)
{
    const bool known = status >= ACCESS_OK && status < ACCESS_UNKNOWN;
    return known ? host::lists::kStatusNames[status] : "";
}
