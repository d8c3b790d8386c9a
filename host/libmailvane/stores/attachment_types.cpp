// The refused attachment types. Reads and writes etc/attachment_types, one type a line.
#include "host/libmailvane/stores/attachment_types.h"

#include <algorithm>
#include <cerrno>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/list_names.h"

namespace host::stores {
namespace {

constexpr std::size_t kLongestType = 32;

std::string ListIn(const std::string& folder)
{
    return folder + "/attachment_types";
}

bool IsTypeCharacter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '+' || c == '-' ||
           c == '.';
}

}  // namespace

Result<std::vector<std::string>> AttachmentTypes(const std::string& folder)
{
    const std::string path = ListIn(folder);
    std::string text;
    if (!ReadFile(path, text)) {
        if (errno != ENOENT) return SystemReason(path, "cannot read " + path);
        text.clear();
    }
    std::vector<std::string> types;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        // Checked again, since a line added by hand could break the files generated from it.
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

Result<void> StoreAttachmentTypes(const std::vector<std::string>& types, const std::string& folder)
{
    std::string text;
    for (const std::string& type : types) text += type + "\n";
    if (ReplaceFile(ListIn(folder), text, 0644)) return {};
    return SystemReason("attachment types", "cannot write the attachment types");
}

}  // namespace host::stores
