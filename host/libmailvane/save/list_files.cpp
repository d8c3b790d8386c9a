// The files of lists as they are stored.
#include "host/libmailvane/save/list_files.h"

#include <utility>

#include "host/libmailvane/stores/attachment_types.h"
#include "host/libmailvane/system/database.h"

namespace host::save {

namespace {

Result<SQLite::Database> DatabaseIn(const std::string& folder, const render::List& list)
{
    const stores::AccountDatabase which = DatabaseOf(list);
    return folder.empty() ? stores::ReadAccountDatabase(which) : stores::ReadCopy(which, folder);
}

/// The files of one list as it is stored.
Result<Files> StoredFilesOf(const render::List& list, const settings::StoredSettings& settings,
                            render::Silence silence, const std::string& folder)
{
    const bool hasDatabase = render::IsOfAccounts(list);
    Result<std::vector<std::string>> types = std::vector<std::string>();
    if (!hasDatabase) {
        types = folder.empty() ? stores::AttachmentTypes() : stores::AttachmentTypes(folder);
    }
    if (!types) return std::move(types).reason();

    auto database =
        hasDatabase ? DatabaseIn(folder, list).Prefixed("maps: ") : SQLite::Database(":memory:");
    if (!database) return std::move(database).reason();
    return system::Attempt("maps", [&] {
        return FilesOf(list, {settings, *database, *std::move(types), silence});
    });
}

}  // namespace

Lists AllLists()
{
    Lists lists;
    for (const render::List& list : render::kLists) lists.push_back(&list);
    return lists;
}

Lists AccountLists()
{
    Lists lists;
    for (const render::List& list : render::kLists) {
        if (render::IsOfAccounts(list)) lists.push_back(&list);
    }
    return lists;
}

stores::AccountDatabase DatabaseOf(const render::List& list)
{
    return list.store == render::ListStore::kAliasDatabase ? stores::AccountDatabase::kAlias
                                                           : stores::AccountDatabase::kMailvane;
}

Result<Files> FilesOf(const render::List& list, const render::ListSources& sources)
{
    return render::MakeFiles(list, sources).Prefixed("maps: ");
}

Result<Files> StoredListFiles(const Lists& lists, const settings::StoredSettings& settings,
                              render::Silence silence, const std::string& folder)
{
    Files all;
    for (const render::List* list : lists) {
        Result<Files> files = StoredFilesOf(*list, settings, silence, folder);
        if (!files) return files;
        for (generation::ListFile& file : *files) all.push_back(std::move(file));
    }
    return all;
}

}  // namespace host::save
