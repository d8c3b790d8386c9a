// The types of attachments that are refused. Reads and writes etc/attachment_types, one type a
// line.
#include "host/libmailvane/attachment_types.h"

#include <algorithm>
#include <cerrno>
#include <sstream>
#include <stdexcept>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/database.h"
#include "host/libmailvane/list_names.h"
#include "host/libmailvane/write_scope.h"
#include "platform/mailvane/attachment_filter.h"

namespace host {
namespace {

constexpr std::size_t kLongestType = 32;

std::string ListPath()
{
    return PackagePath("etc/attachment_types");
}

bool IsTypeCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '+' || c == '-' ||
           c == '.';
}

using Types = std::vector<std::string>;

int Store(const Types& types)
{
    std::string text;
    for (const std::string& type : types) text += type + "\n";
    if (ReplaceFile(ListPath(), text, 0644)) return 0;

    Log(LOG_ERR, "cannot write the attachment types: %s", ErrnoText());
    return -1;
}

/// Adds what is not there yet; all or nothing.
int AddTypes(const std::list<std::string>& added)
{
    const WriteScope scope;
    if (!scope.ok()) return -1;

    Types types = AttachmentTypes();
    for (const std::string& text : added) {
        const std::optional<std::string> type = StoredAttachmentType(text);
        if (!type) {
            Log(LOG_ERR, "refused: '%.64s' is no type of files", text.c_str());
            return -1;
        }
        if (std::find(types.begin(), types.end(), *type) == types.end()) types.push_back(*type);
    }
    return Store(types);
}

int DeleteTypes(const std::list<std::string>& deleted)
{
    const WriteScope scope;
    if (!scope.ok()) return -1;

    Types types = AttachmentTypes();
    for (const std::string& text : deleted) {
        const std::string type = StoredAttachmentType(text).value_or(text);
        types.erase(std::remove(types.begin(), types.end(), type), types.end());
    }
    return Store(types);
}

}  // namespace

std::vector<std::string> AttachmentTypes()
{
    std::string text;
    if (!ReadFile(ListPath(), text)) {
        if (errno == ENOENT) return {};
        throw std::runtime_error("cannot read " + ListPath() + ": " + ErrnoText());
    }
    Types types;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        // Whoever writes the file by hand must not reach into what is made of it.
        if (auto type = StoredAttachmentType(word)) types.push_back(std::move(*type));
    }
    return types;
}

std::optional<std::string> StoredAttachmentType(const std::string& text)
{
    std::string type = InLowerCase(text);
    if (type.rfind("*.", 0) == 0) type.erase(0, 1);
    if (!type.empty() && type.front() == '.') type.erase(0, 1);

    const bool plain = std::all_of(type.begin(), type.end(), IsTypeCharacter);
    const bool innerDots = !type.empty() && type.front() != '.' && type.back() != '.' &&
                           type.find("..") == std::string::npos;
    if (!plain || !innerDots || type.size() > kLongestType) return std::nullopt;
    return type;
}

}  // namespace host

int AttachmentFilter::GetList(std::list<std::string>& types, const std::string& query)
{
    return host::WithoutExceptions("attachment types", [&] {
        // Types are asked for as they may be added, with a dot in front.
        const std::string part = host::StoredAttachmentType(query).value_or(query);
        types.clear();
        for (const std::string& type : host::AttachmentTypes()) {
            if (type.find(part) != std::string::npos) types.push_back(type);
        }
        return static_cast<int>(types.size());
    });
}

int AttachmentFilter::Delete(const std::list<std::string>& types)
{
    return host::WithoutExceptions("attachment types", [&] { return host::DeleteTypes(types); });
}

int AttachmentFilter::Add(const std::list<std::string>& types)
{
    return host::WithoutExceptions("attachment types", [&] { return host::AddTypes(types); });
}
