// The logins of the package's web server: lines `name:hash` in etc/htpasswd.
#include "upkeep/users/web_logins.h"

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "upkeep/users/passwords.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;

constexpr char kFile[] = "etc/htpasswd";
constexpr mode_t kMode = 0640;  // for root and the web server's group, who own it

/// The place of a login's hash in the text of the file.
struct Place {
    std::size_t begin = std::string::npos;
    std::size_t size = 0;
};

Place HashIn(const std::string& text, const std::string& login)
{
    const std::string beginning = login + ":";
    for (std::size_t line = 0; line < text.size();) {
        const std::size_t end = std::min(text.find('\n', line), text.size());
        if (text.compare(line, beginning.size(), beginning) == 0) {
            const std::size_t begin = line + beginning.size();
            return {begin, end - begin};
        }
        line = end + 1;
    }
    return {};
}

}  // namespace

Result<void> ChangeWebPassword(const std::string& login, const std::string& old,
                               const std::string& wanted)
{
    const Subject about = Subject::List("logins");
    const std::string path = host::PackagePath(kFile);
    std::string text;
    if (!host::ReadFile(path, text)) return host::SystemReason(about, "cannot read " + path);
    const Place place = HashIn(text, login);
    if (place.begin == std::string::npos) {
        return Reason{ReasonCode::kMissing, about,
                      path + " has no such login: another web server checks its password"};
    }
    const Result<bool> isRight = HasHash(old, text.substr(place.begin, place.size));
    if (!isRight) return isRight.reason();
    if (!*isRight) {
        return Reason{ReasonCode::kRefused, Subject::Setting("old"), "not the present password"};
    }
    const Result<std::string> hash = HashOf(wanted);
    if (!hash) return hash.reason();
    text.replace(place.begin, place.size, *hash);
    if (host::ReplaceFile(path, text, kMode)) return {};
    return host::SystemReason(about, "cannot write " + path);
}

}  // namespace upkeep
