// RSA key pairs for DKIM. Each pair is in a directory named by its date. The paths of the two keys
// are symbolic links through one link, `pair`, so that both change at once. Replaced pairs are
// kept.
#include "host/libmailvane/pages/key_pairs.h"

#include "platform/mailvane/rsa_key.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/pem.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/system/durable_move.h"

namespace {

const char kPair[] = "pair";
constexpr int kMostPairsASecond = 100;

/// Private and public key in PEM format.
struct KeyTexts {
    std::string privateKey;
    std::string publicKey;
};

/// The folder of a pair's links, and their names.
struct KeyNames {
    std::string folder;  ///< ends with a slash
    std::string privateName;
    std::string publicName;
};

std::string FolderOf(const std::string& path)
{
    return path.substr(0, path.rfind('/') + 1);
}

std::string NameOf(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

/// Path of a new private key until its public key is stored.
std::string WaitingKey(const std::string& privatePath)
{
    return privatePath + ".new";
}

/// The output of the openssl program; empty (logged) when it fails.
std::string OpensslOutput(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command{host::programs::kOpenssl};
    command.insert(command.end(), arguments.begin(), arguments.end());
    host::ProgramOptions options;
    options.capture = true;
    const host::ProgramResult result = host::RunProgram(command, options);
    if (result.Succeeded() && !result.output.empty()) return result.output;

    host::Log(LOG_ERR, "openssl %s failed: %s", arguments.front().c_str(), result.errors.c_str());
    return "";
}

/// Makes the directory of a new pair, named by the time `when`; empty, with errno set, on failure.
std::string MakePairDirectory(const std::string& folder, time_t when)
{
    struct tm parts {};
    char date[32];
    gmtime_r(&when, &parts);
    strftime(date, sizeof(date), "%Y%m%dT%H%M%SZ", &parts);
    for (int number = 1; number <= kMostPairsASecond; ++number) {
        std::string name = std::string(kPair) + "-" + date;
        if (number > 1) name += "-" + std::to_string(number);
        if (mkdir((folder + name).c_str(), 0700) == 0) return name;
        if (errno != EEXIST) break;
    }
    return "";
}

/// Writes one key of a pair; an empty text is skipped.
bool WriteHalf(const std::string& path, const std::string& text, mode_t mode)
{
    return text.empty() || host::ReplaceFile(path, text, mode);
}

/// Writes both keys into a new directory and returns its name; empty, with errno set, on failure.
std::string StorePair(const KeyNames& names, const KeyTexts& keys, time_t when)
{
    std::string pair = MakePairDirectory(names.folder, when);
    if (pair.empty()) return "";

    const std::string inside = names.folder + pair + "/";
    if (WriteHalf(inside + names.privateName, keys.privateKey, 0600) &&
        WriteHalf(inside + names.publicName, keys.publicKey, 0644)) {
        return pair;
    }
    const int why = errno;
    (void)unlink((inside + names.privateName).c_str());
    (void)rmdir(inside.c_str());
    errno = why;
    return "";
}

/// Whether a path is a regular file, put there by hand, and not one of this library's links.
bool IsPlainFile(const std::string& path)
{
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

/// Reads one key of a pair; a missing file is empty text.
bool ReadHalf(const std::string& path, std::string& text)
{
    return host::ReadFile(path, text) || errno == ENOENT;
}

/// Moves key files that are no links into a directory like that of other pairs, and links to them.
/// What is read at the two paths stays the same.
bool AdoptPlainFiles(const KeyNames& names)
{
    const std::string privatePath = names.folder + names.privateName;
    const std::string publicPath = names.folder + names.publicName;
    if (!IsPlainFile(privatePath) && !IsPlainFile(publicPath)) return true;

    KeyTexts keys;
    if (!ReadHalf(privatePath, keys.privateKey) || !ReadHalf(publicPath, keys.publicKey)) {
        return false;
    }

    struct stat info {};
    (void)lstat((IsPlainFile(privatePath) ? privatePath : publicPath).c_str(), &info);
    const std::string pair = StorePair(names, keys, info.st_mtime);
    return !pair.empty() && host::generation::ReplaceByLink(names.folder + kPair, pair);
}

/// Makes the path of one key a link through `pair`.
bool LeadThroughLink(const KeyNames& names, const std::string& name)
{
    const std::string target = std::string(kPair) + "/" + name;
    return host::generation::ReplaceByLink(names.folder + name, target);
}

/// Makes a stored pair the current one. The previous pair stays complete until the last rename.
bool TurnTo(const KeyNames& names, const std::string& pair)
{
    return AdoptPlainFiles(names) && LeadThroughLink(names, names.privateName) &&
           LeadThroughLink(names, names.publicName) &&
           host::generation::ReplaceByLink(names.folder + kPair, pair);
}

/// Stores both keys and makes them the current pair; likewise.
bool PutPair(const KeyNames& names, const KeyTexts& keys)
{
    const std::string pair = StorePair(names, keys, time(nullptr));
    return !pair.empty() && TurnTo(names, pair);
}

/// Whether this is the directory of a stored pair with both keys.
bool IsStoredPair(const KeyNames& names, const std::string& pair)
{
    const std::string inside = names.folder + pair + "/";
    const bool isName = pair.rfind(std::string(kPair) + "-", 0) == 0 &&
                        pair.find_first_of("/.") == std::string::npos;
    return isName && IsPlainFile(inside + names.privateName) &&
           IsPlainFile(inside + names.publicName);
}

/// Makes the pair of a private key the current one.
bool MakePair(const KeyNames& names, const std::string& privateKey)
{
    KeyTexts keys;
    keys.publicKey = OpensslOutput({"pkey", "-in", privateKey, "-pubout"});
    if (host::PemBlock(keys.publicKey, "PUBLIC KEY").empty()) return false;

    if (host::ReadFile(privateKey, keys.privateKey) && PutPair(names, keys)) return true;

    host::Log(LOG_ERR, "cannot put the keys in %s in place: %s", names.folder.c_str(),
              host::ErrnoText());
    return false;
}

}  // namespace

host::Result<void> host::pages::RestoreKeyPair(const std::string& pair)
{
    const save::WriteScope scope;
    if (!scope.ready()) return scope.ready();
    const KeyNames names{PackagePath("etc/dkim.key/"), "dkim.private", "dkim.public"};
    if (!AdoptPlainFiles(names)) return Reason{ReasonCode::kSystem, names.folder, ""};
    if (!IsStoredPair(names, pair)) {
        return Reason{ReasonCode::kMissing, pair,
                      "there is no key pair '" + pair.substr(0, 64) + "'"};
    }

    std::error_code error;
    const std::string before =
        std::filesystem::read_symlink(names.folder + kPair, error).filename().string();
    if (TurnTo(names, pair) && daemons::RunControlScript(daemons::kDkimFilter, "restart") == 0)
        return {};

    if (!before.empty() && TurnTo(names, before))
        (void)daemons::RunControlScript(daemons::kDkimFilter, "restart");
    return Reason{ReasonCode::kDaemonRefuses, pair,
                  "the key pair '" + pair + "' is not taken; the one before stays"};
}

int GenerateRSAPrivateKey(const char* path, unsigned int bits)
{
    const std::string waiting = WaitingKey(host::Path(path));
    const std::string key = OpensslOutput({"genrsa", std::to_string(bits)});
    if (key.empty()) return -1;

    if (host::ReplaceFile(waiting, key, 0600)) return 0;

    host::Log(LOG_ERR, "cannot write %s: %s", waiting.c_str(), host::ErrnoText());
    return -1;
}

int GenerateRSAPublicKey(const char* privatePath, const char* publicPath)
{
    const std::string current = host::Path(privatePath);
    const std::string waiting = WaitingKey(current);
    const KeyNames names{FolderOf(current), NameOf(privatePath), NameOf(publicPath)};
    const bool done = MakePair(names, host::system::NameExists(waiting) ? waiting : current);
    (void)unlink(waiting.c_str());
    return done ? 0 : -1;
}

int ReadRSAPublicKey(const char* path, std::string& text)
{
    std::string read;
    if (!host::ReadFile(host::Path(path), read)) {
        host::Log(LOG_ERR, "cannot read %s: %s", path, host::ErrnoText());
        return -1;
    }
    text = read;
    return 0;
}
