// The black and the white list of the spam filter. They lie in etc/mailvane.db; scanner and mail
// server follow them once their files are made.
#include "host/libhaldcore/log.h"
#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/render/black_white_files.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/stores/black_white_store.h"
#include "host/libmailvane/stores/list_store.h"
#include "platform/mailvane/access.h"
#include "platform/mailvane/spam.h"

namespace host::lists {
namespace {

const char kWhat[] = "black and white list";

std::string ExportText(BlackWhiteType type)
{
    std::string text;
    std::optional<SQLite::Database> store = stores::OpenListStore();
    if (!store) return text;

    for (int which = TYPE_SENDER; which <= TYPE_CLIENT; ++which) {
        for (const BlackWhite& entry : stores::ReadBlackWhite(*store, which)) {
            if (entry.blackWhite == type) text += stores::BlackWhiteLine(entry) + "\n";
        }
    }
    return text;
}

/// What is wrong with one line of a file, in the context of what is stored; empty when its entry
/// was added to `entries`.
std::string TakeEntry(const std::string& line, BlackWhiteType type, std::list<BlackWhite>& entries)
{
    BlackWhite entry;
    std::string fault;
    entry.blackWhite = type;
    if (!stores::ParseBlackWhiteLine(line, entry))
        return "is not sender, recipient or client and a name";
    if (stores::MakeStored(entry, fault)) entries.push_back(entry);
    return fault;
}

}  // namespace
}  // namespace host::lists

Spam::Spam() : state_(nullptr) {}

Spam::~Spam() {}

Spam* Spam::getInstance()
{
    static Spam instance;
    const int result = host::system::WithoutExceptions(host::lists::kWhat, [] {
        (void)host::stores::OpenListStore();
        return 0;
    });
    return result < 0 ? nullptr : &instance;
}

std::list<BlackWhite> Spam::getBlackWhiteList(const BlackWhiteFilter& filter)
{
    std::list<BlackWhite> entries;
    (void)host::system::WithoutExceptions(host::lists::kWhat, [&filter, &entries] {
        std::optional<SQLite::Database> store = host::stores::OpenListStore();
        if (store) entries = host::stores::PageOfBlackWhite(*store, filter);
        return 0;
    });
    return entries;
}

int Spam::countQueryData(const BlackWhiteFilter& filter)
{
    return host::system::WithoutExceptions(host::lists::kWhat, [&filter] {
        std::optional<SQLite::Database> store = host::stores::OpenListStore();
        return store ? host::stores::CountBlackWhite(*store, filter) : 0;
    });
}

int Spam::addBlackWhite(const BlackWhite& entry)
{
    BlackWhite stored = entry;
    std::string fault;
    if (!host::stores::MakeStored(stored, fault)) {
        host::Log(LOG_ERR, "black and white list: refused: %s", fault.c_str());
        return -1;
    }
    return host::save::ChangeLists(host::lists::kWhat, [&stored](SQLite::Database& store) {
        return host::stores::InsertBlackWhite(store, {stored}, false) ? 0 : -1;
    });
}

int Spam::deleteBlackWhite(const BlackWhite& entry)
{
    return deleteBlackWhiteList({entry});
}

int Spam::deleteBlackWhiteList(const std::list<BlackWhite>& entries)
{
    return host::save::ChangeLists(host::lists::kWhat, [&entries](SQLite::Database& store) {
        host::stores::RemoveBlackWhite(store, entries);
        return 0;
    });
}

int Spam::exportBlackWhite(BlackWhiteType type, const std::string& path)
{
    return host::system::WithoutExceptions(host::lists::kWhat, [type, &path] {
        return host::names::WriteExport(path, host::lists::ExportText(host::stores::ListOf(type)));
    });
}

int Spam::importBlackWhite(BlackWhiteType type, const std::string& path)
{
    std::list<BlackWhite> entries;
    const bool taken = host::names::ReadListText(path, [type, &entries](const std::string& line) {
        return host::lists::TakeEntry(line, type, entries);
    });
    if (!taken) return -1;

    return host::save::ChangeLists(host::lists::kWhat, [&entries](SQLite::Database& store) {
        return host::stores::InsertBlackWhite(store, entries, true) ? 0 : -1;
    });
}

int Spam::GenerateBlackWhite()
{
    return host::save::RebuildLists({host::render::BlackWhiteFiles});
}
