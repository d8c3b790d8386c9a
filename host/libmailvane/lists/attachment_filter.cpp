// The list of refused attachment types: changing and activating it.
#include "platform/mailvane/attachment_filter.h"

#include <algorithm>
#include <optional>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/render/attachment_checks.h"
#include "host/libmailvane/save/rebuild_lists.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/stores/attachment_types.h"

namespace host::lists {
namespace {

using Types = std::vector<std::string>;

constexpr std::size_t kLongestToldType = 64;

Result<Types> StoredTypes()
{
    return stores::AttachmentTypes().Prefixed("attachment types: ");
}

/// Adds the types that the list lacks, all or none.
Result<void> AddTypes(const std::list<std::string>& added)
{
    const save::WriteScope scope;
    if (!scope.ready()) return scope.ready();

    Result<Types> types = StoredTypes();
    if (!types) return std::move(types).reason();
    for (const std::string& text : added) {
        const std::optional<std::string> type = stores::StoredAttachmentType(text);
        if (!type) {
            return Reason{
                ReasonCode::kRefused, text,
                "refused: '" + text.substr(0, kLongestToldType) + "' is no type of files"};
        }
        if (std::find(types->begin(), types->end(), *type) == types->end()) {
            types->push_back(*type);
        }
    }
    return stores::StoreAttachmentTypes(*types);
}

Result<void> DeleteTypes(const std::list<std::string>& deleted)
{
    const save::WriteScope scope;
    if (!scope.ready()) return scope.ready();

    Result<Types> types = StoredTypes();
    if (!types) return std::move(types).reason();
    for (const std::string& text : deleted) {
        const std::string type = stores::StoredAttachmentType(text).value_or(text);
        types->erase(std::remove(types->begin(), types->end(), type), types->end());
    }
    return stores::StoreAttachmentTypes(*types);
}

}  // namespace
}  // namespace host::lists

int AttachmentFilter::GetList(std::list<std::string>& types, const std::string& query)
{
    // A query can be written as a type can, with a dot in front: `.exe` finds `exe`.
    const std::string part = host::stores::StoredAttachmentType(query).value_or(query);
    types.clear();
    const auto stored = host::lists::StoredTypes();
    if (!host::Succeeded(stored)) return -1;
    for (const std::string& type : *stored) {
        if (type.find(part) != std::string::npos) types.push_back(type);
    }
    return static_cast<int>(types.size());
}

int AttachmentFilter::Delete(const std::list<std::string>& types)
{
    return host::Status(host::lists::DeleteTypes(types));
}

int AttachmentFilter::Add(const std::list<std::string>& types)
{
    return host::Status(host::lists::AddTypes(types));
}

int AttachmentFilter::GenerateConfig()
{
    return host::Status(host::save::RebuildLists({host::render::AttachmentFiles}));
}
