// The black and the white list of the spam filter. Stored in etc/mailvane.db; in force once the
// files of scanner and mail server are rebuilt.
#include "host/libmailvane/lists/rule_pages.h"
#include "platform/mailvane/access.h"
#include "platform/mailvane/spam.h"

namespace host::lists {
namespace {

constexpr RulePages kPages(render::kBlackWhiteList, "black and white list");

std::string TextOf(SQLite::Database& store, BlackWhiteType which)
{
    std::string text;
    for (int type = TYPE_SENDER; type <= TYPE_CLIENT; ++type) {
        for (const stores::Rule& rule : stores::ReadRules(store, kPages.rules(), type)) {
            if (std::stoi(rule.value) == which) text += stores::BlackWhiteLine(rule) + "\n";
        }
    }
    return text;
}

Result<void> Add(const BlackWhite& entry)
{
    Result<stores::Rule> stored = kPages.Refused(stores::StoredRule(entry));
    if (!stored) return std::move(stored).reason();
    return kPages.Store(kPages.Adding(*std::move(stored)));
}

Result<void> Remove(const std::list<BlackWhite>& entries)
{
    stores::Rules rules;
    for (const BlackWhite& entry : entries) rules.push_back(stores::KeyOf(entry));
    return kPages.Store(kPages.Removing(std::move(rules)));
}

Result<void> Import(BlackWhiteType type, const std::string& path)
{
    return kPages.Store(kPages.Importing(type, path, false));
}

}  // namespace
}  // namespace host::lists

using host::lists::kPages;

Spam::Spam() : state_(nullptr) {}

Spam::~Spam() {}

Spam* Spam::getInstance()
{
    static Spam instance;
    return kPages.CanBeRead() ? &instance : nullptr;
}

std::list<BlackWhite> Spam::getBlackWhiteList(const BlackWhiteFilter& filter)
{
    return host::stores::BlackWhiteEntries(kPages.Page(host::stores::SearchOf(filter)));
}

int Spam::countQueryData(const BlackWhiteFilter& filter)
{
    return kPages.Count(host::stores::SearchOf(filter));
}

int Spam::addBlackWhite(const BlackWhite& entry)
{
    return host::Status(host::lists::Add(entry));
}

int Spam::deleteBlackWhite(const BlackWhite& entry)
{
    return deleteBlackWhiteList({entry});
}

int Spam::deleteBlackWhiteList(const std::list<BlackWhite>& entries)
{
    return host::Status(host::lists::Remove(entries));
}

int Spam::exportBlackWhite(BlackWhiteType type, const std::string& path)
{
    return kPages.Export(path, [type](SQLite::Database& store) {
        return host::lists::TextOf(store, host::stores::ListOf(type));
    });
}

int Spam::importBlackWhite(BlackWhiteType type, const std::string& path)
{
    return kPages.Told(host::lists::Import(type, path));
}

int Spam::GenerateBlackWhite()
{
    return host::Status(host::save::ApplyLists({&host::render::kBlackWhiteList}));
}
