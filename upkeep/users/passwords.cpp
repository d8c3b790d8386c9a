// Passwords: their rules and hashes. Loads libcrypt, which other calls do without.
#include "upkeep/users/passwords.h"

#include <crypt.h>
#include <dlfcn.h>
#include <string.h>
#include <sys/prctl.h>

#include <algorithm>
#include <memory>

#include "host/libhaldcore/text.h"
#include "host/libhaldcore/utf8.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;

constexpr std::size_t kShortest = 10;  // characters
constexpr std::size_t kLongest = 128;
constexpr char kLibrary[] = "libcrypt.so.1";
// Debian's scheme for logins, at its least cost: each page pays it. See docs/web_servers.md.
constexpr char kScheme[] = "$y$";
constexpr unsigned long kCost = 1;

/// Number of the characters of a text in UTF-8.
std::size_t Characters(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xc0U) != 0x80;
    }));
}

/// The functions of the library; null where it is missing.
struct Crypt {
    decltype(&crypt_r) hash = nullptr;
    decltype(&crypt_gensalt_rn) salt = nullptr;

    Crypt()
    {
        void* const library = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) return;
        hash = reinterpret_cast<decltype(hash)>(dlsym(library, "crypt_r"));
        salt = reinterpret_cast<decltype(salt)>(dlsym(library, "crypt_gensalt_rn"));
    }
};

/// The hash of a password by the scheme, rounds and salt at the beginning of `setting`; empty for a
/// scheme that crypt(3) does not have. Wipes what it worked with.
Result<std::string> Hashed(const std::string& password, const std::string& setting)
{
    static const Crypt library;
    if (library.hash == nullptr || library.salt == nullptr) {
        return Reason{ReasonCode::kSystem, kLibrary, "cannot load libcrypt.so.1"};
    }
    const auto work = std::make_unique<crypt_data>();
    std::string scheme = setting;
    if (scheme.empty()) {
        char salted[CRYPT_GENSALT_OUTPUT_SIZE];
        if (library.salt(kScheme, kCost, nullptr, 0, salted, sizeof salted) == nullptr) {
            return host::SystemReason(kLibrary, "cannot make a salt");
        }
        scheme = salted;
    }
    const char* const hash = library.hash(password.c_str(), scheme.c_str(), work.get());
    std::string text = hash != nullptr && *hash != '*' ? hash : "";
    explicit_bzero(work.get(), sizeof(crypt_data));
    return text;
}

}  // namespace

Result<void> CheckPassword(const std::string& password, host::Subject about)
{
    // A NUL, which would end it early, does not get here: bodies that hold one are refused.
    const bool isText =
        host::IsUtf8(password) && std::none_of(password.begin(), password.end(), host::IsControl);
    if (!isText) return Reason{ReasonCode::kNotText, std::move(about), "no text as a password"};
    const std::size_t characters = Characters(password);
    if (characters < kShortest) {
        return Reason{ReasonCode::kTooShort, std::move(about), "too short for a password"};
    }
    if (characters > kLongest) {
        return Reason{ReasonCode::kTooLong, std::move(about), "too long for a password"};
    }
    return {};
}

void KeepOutOfCores()
{
    (void)prctl(PR_SET_DUMPABLE, 0);
}

Result<std::string> HashOf(const std::string& password)
{
    Result<std::string> hash = Hashed(password, "");
    if (hash && hash->empty()) return Reason{ReasonCode::kSystem, kLibrary, "no hash is made"};
    return hash;
}

Result<bool> HasHash(const std::string& password, const std::string& hash)
{
    const Result<std::string> made = Hashed(password, hash.empty() ? "*" : hash);
    if (!made) return made.reason();
    return !made->empty() && *made == hash;
}

}  // namespace upkeep
