// The list of refused attachment types. What a request changes is stored and activated together,
// when it asks for that, or not at all.
#include "platform/mailvane/attachment_filter.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/stores/attachment_types.h"

namespace host::lists {
namespace {

using Types = std::vector<std::string>;

constexpr std::size_t kLongestToldType = 64;

/// The types as this request wants them; nothing while it has changed none.
std::optional<Types>& Pending()
{
    static std::optional<Types> types;
    return types;
}

Result<Types> WantedTypes()
{
    if (Pending()) return *Pending();
    return stores::AttachmentTypes()
        .Prefixed("attachment types: ")
        .About(Subject::List(render::kAttachmentList));
}

/// Adds the types that the list lacks, all or none.
Result<void> AddTypes(const std::list<std::string>& added)
{
    Result<Types> types = WantedTypes();
    if (!types) return std::move(types).reason();
    for (const std::string& text : added) {
        const std::optional<std::string> type = stores::StoredAttachmentType(text);
        if (!type) {
            return Reason{
                ReasonCode::kBadFormat, Subject::Setting("add_list"),
                "refused: '" + text.substr(0, kLongestToldType) + "' is no type of files"};
        }
        if (std::find(types->begin(), types->end(), *type) == types->end()) {
            types->push_back(*type);
        }
    }
    Pending() = *std::move(types);
    return {};
}

Result<void> DeleteTypes(const std::list<std::string>& deleted)
{
    Result<Types> types = WantedTypes();
    if (!types) return std::move(types).reason();
    for (const std::string& text : deleted) {
        const std::string type = stores::StoredAttachmentType(text).value_or(text);
        types->erase(std::remove(types->begin(), types->end(), type), types->end());
    }
    Pending() = *std::move(types);
    return {};
}

Result<void> ApplyTypes()
{
    const std::optional<Types> types = std::exchange(Pending(), std::nullopt);
    return types ? save::StoreAndApplyTypes(*types) : save::ApplyLists({&render::kAttachmentList});
}

}  // namespace
}  // namespace host::lists

int AttachmentFilter::GetList(std::list<std::string>& types, const std::string& query)
{
    // A query can be written as a type can, with a dot in front: `.exe` finds `exe`.
    const std::string part = host::stores::StoredAttachmentType(query).value_or(query);
    types.clear();
    const auto stored = host::lists::WantedTypes();
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
    return host::Status(host::lists::ApplyTypes());
}
