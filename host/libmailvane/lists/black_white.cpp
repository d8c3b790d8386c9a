// The black and the white list of the spam filter. Stored in etc/mailvane.db; in force once the
// files of scanner and mail server are rebuilt.
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
const char kRefused[] = "black and white list: refused: ";

std::string ExportText(SQLite::Database& store, BlackWhiteType type)
{
    std::string text;
    for (int which = TYPE_SENDER; which <= TYPE_CLIENT; ++which) {
        for (const BlackWhite& entry : stores::ReadBlackWhite(store, which)) {
            if (entry.blackWhite == type) text += stores::BlackWhiteLine(entry) + "\n";
        }
    }
    return text;
}

/// Adds entries in stored spelling, all or none.
Result<void> Insert(const std::list<BlackWhite>& entries, bool again)
{
    return save::ChangeLists(kWhat, [&entries, again](SQLite::Database& store) {
        return stores::InsertBlackWhite(store, entries, again).Prefixed(kRefused);
    });
}

Result<void> Add(const BlackWhite& entry)
{
    Result<BlackWhite> stored = stores::MakeStored(entry).Prefixed(kRefused);
    if (!stored) return std::move(stored).reason();
    return Insert({*stored}, false);
}

Result<void> Import(BlackWhiteType type, const std::string& path)
{
    std::list<BlackWhite> entries;
    Result<void> read = names::ReadListText(path, [&](const std::string& line) -> Result<void> {
        Result<BlackWhite> entry = stores::ParseBlackWhiteLine(line, type);
        if (!entry) return std::move(entry).reason();

        entries.push_back(*entry);
        return {};
    });
    return read ? Insert(entries, true) : read;
}

}  // namespace
}  // namespace host::lists

Spam::Spam() : state_(nullptr) {}

Spam::~Spam() {}

Spam* Spam::getInstance()
{
    static Spam instance;
    const host::Result<void> opened =
        host::stores::ReadLists(host::lists::kWhat, [](SQLite::Database& /*store*/) {});
    return host::Succeeded(opened) ? &instance : nullptr;
}

std::list<BlackWhite> Spam::getBlackWhiteList(const BlackWhiteFilter& filter)
{
    auto page = host::stores::ReadLists(host::lists::kWhat, [&](SQLite::Database& store) {
        return host::stores::PageOfBlackWhite(store, filter);
    });
    return host::Succeeded(page) ? *std::move(page) : std::list<BlackWhite>();
}

int Spam::countQueryData(const BlackWhiteFilter& filter)
{
    return host::Status(host::stores::ReadLists(host::lists::kWhat, [&](SQLite::Database& store) {
        return host::stores::CountBlackWhite(store, filter);
    }));
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
    return host::Status(host::save::ChangeLists(
        host::lists::kWhat,
        [&entries](SQLite::Database& store) { host::stores::RemoveBlackWhite(store, entries); }));
}

int Spam::exportBlackWhite(BlackWhiteType type, const std::string& path)
{
    return host::Status(host::stores::ReadLists(host::lists::kWhat, [&](SQLite::Database& store) {
        return host::names::WriteExport(path,
                                        host::lists::ExportText(store, host::stores::ListOf(type)));
    }));
}

int Spam::importBlackWhite(BlackWhiteType type, const std::string& path)
{
    return host::Status(host::lists::Import(type, path));
}

int Spam::GenerateBlackWhite()
{
    return host::Status(host::save::RebuildLists({host::render::BlackWhiteFiles}));
}
