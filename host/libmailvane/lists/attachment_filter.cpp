// The list of refused attachment types: changing it, and putting it in force.
#include "platform/mailvane/attachment_filter.h"

#include <algorithm>
#include <optional>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/render/attachment_checks.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/stores/attachment_types.h"
#include "host/libmailvane/system/database.h"

namespace host::lists {
namespace {

using Types = std::vector<std::string>;

/// Adds what is not there yet; all or nothing.
int AddTypes(const std::list<std::string>& added)
{
    const save::WriteScope scope;
    if (!scope.ok()) return -1;

    Types types = stores::AttachmentTypes();
    for (const std::string& text : added) {
        const std::optional<std::string> type = stores::StoredAttachmentType(text);
        if (!type) {
            Log(LOG_ERR, "refused: '%.64s' is no type of files", text.c_str());
            return -1;
        }
        if (std::find(types.begin(), types.end(), *type) == types.end()) types.push_back(*type);
    }
    return stores::StoreAttachmentTypes(types);
}

int DeleteTypes(const std::list<std::string>& deleted)
{
    const save::WriteScope scope;
    if (!scope.ok()) return -1;

    Types types = stores::AttachmentTypes();
    for (const std::string& text : deleted) {
        const std::string type = stores::StoredAttachmentType(text).value_or(text);
        types.erase(std::remove(types.begin(), types.end(), type), types.end());
    }
    return stores::StoreAttachmentTypes(types);
}

}  // namespace
}  // namespace host::lists

int AttachmentFilter::GetList(std::list<std::string>& types, const std::string& query)
{
    return host::system::WithoutExceptions("attachment types", [&] {
        // Types are asked for as they may be added, with a dot in front.
        const std::string part = host::stores::StoredAttachmentType(query).value_or(query);
        types.clear();
        for (const std::string& type : host::stores::AttachmentTypes()) {
            if (type.find(part) != std::string::npos) types.push_back(type);
        }
        return static_cast<int>(types.size());
    });
}

int AttachmentFilter::Delete(const std::list<std::string>& types)
{
    return host::system::WithoutExceptions("attachment types",
                                           [&] { return host::lists::DeleteTypes(types); });
}

int AttachmentFilter::Add(const std::list<std::string>& types)
{
    return host::system::WithoutExceptions("attachment types",
                                           [&] { return host::lists::AddTypes(types); });
}

int AttachmentFilter::GenerateConfig()
{
    // The scanner looks for the same types inside archives.
    return host::save::RebuildLists({host::render::AttachmentFiles, host::render::BannedTypeFiles});
}
