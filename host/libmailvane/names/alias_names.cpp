// Rules for the names of aliases and their members.
#include "host/libmailvane/names/alias_names.h"

#include <algorithm>
#include <cstring>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/domains.h"
#include "host/libmailvane/names/text_checks.h"

namespace host::names {
namespace {

constexpr std::size_t kLongestLocalPart = 64;
constexpr std::size_t kLongestGroup = 256;

bool IsUser(const std::string& name)
{
    const std::size_t backslash = name.find('\\');
    if (backslash == std::string::npos) return IsLocalPart(name);

    return backslash > 0 && IsShortDomainOrEmpty(name.substr(0, backslash)) &&
           IsLocalPart(name.substr(backslash + 1));
}

bool IsGroup(const std::string& name)
{
    return !name.empty() && name.size() <= kLongestGroup && name.front() != ' ' &&
           name.back() != ' ' && IsPlainText(name) &&
           name.find_first_of("<>,:\"") == std::string::npos;
}

bool IsOutsideAddress(const std::string& name)
{
    const std::size_t at = name.find('@');
    const bool ascii = std::all_of(name.begin(), name.end(),
                                   [](char c) { return static_cast<unsigned char>(c) < 128; });
    return at != std::string::npos && ascii && IsMailAddress(name) && at <= kLongestLocalPart &&
           (IsLetterOrDigit(name.front()) || name.front() == '_');
}

}  // namespace

bool IsLocalPart(const std::string& name)
{
    if (name.empty() || name.size() > kLongestLocalPart) return false;
    if (!IsLetterOrDigit(name.front()) && name.front() != '_') return false;
    if (name.back() == '.' || name.find("..") != std::string::npos) return false;

    return std::all_of(name.begin(), name.end(), [](char c) {
        return IsLetterOrDigit(c) || (c != '\0' && std::strchr("._-+=&'~$", c) != nullptr);
    });
}

MemberInfo StoredMember(MemberInfo member)
{
    if (member.type == kOutsideMember) member.name = WithALabels(member.name);
    return member;
}

Result<void> CheckMember(const MemberInfo& member)
{
    const auto unless = [](bool good, ReasonCode code, const char* fault) -> Result<void> {
        if (good) return {};
        return Reason{code, Subject::Setting("member"), fault};
    };
    using Code = ReasonCode;
    switch (member.type) {
        case kUserMember:
            return unless(IsUser(member.name), Code::kNoAddress,
                          "a user whose name cannot be an address");
        case kGroupMember:
            return unless(IsGroup(member.name), Code::kNoName, "no name of a group");
        case kAliasMember:
            return unless(IsLocalPart(member.name), Code::kNoName, "no name of an alias");
        case kOutsideMember:
            return unless(IsOutsideAddress(member.name), Code::kNoAddress, "no outside address");
        default:
            return unless(false, Code::kNoChoice, "a member of no known kind");
    }
}

}  // namespace host::names
