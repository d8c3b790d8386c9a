// RSA key pairs for DKIM. Each pair is in a directory named by its date. The paths of the two keys
// are symbolic links through one link, `pair`, so that both change at once. Replaced pairs are
// kept.
#include "host/libmailvane/pages/key_pairs.h"

#include "platform/mailvane/rsa_key.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/pem.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/system/durable_move.h"

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;

const char kPair[] = "pair";
const host::Subject kStore = host::Subject::List("keys");
constexpr int kMostPairsASecond = 100;

const char kFolder[] = "etc/dkim.key/";
const char kPrivate[] = "dkim.private";
const char kPublic[] = "dkim.public";

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

KeyNames OwnNames()
{
    return {host::PackagePath(kFolder), kPrivate, kPublic};
}

/// The public key in a file, in one line; empty when there is none.
std::string PublicKeyIn(const std::string& path)
{
    std::string text;
    return host::ReadFile(path, text) ? host::PemBody(text, "PUBLIC KEY") : "";
}

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

/// The output of the openssl program.
Result<std::string> OpensslOutput(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command{host::programs::kOpenssl};
    command.insert(command.end(), arguments.begin(), arguments.end());
    host::ProgramOptions options;
    options.capture = true;
    host::ProgramResult result = host::RunProgram(command, options);
    if (result.Succeeded() && !result.output.empty()) return std::move(result.output);
    return Reason{ReasonCode::kSystem, kStore,
                  "openssl " + arguments.front() + " failed: " + result.errors, result.Causes()};
}

/// What a system call has just said about the pairs in a folder.
Reason PairReason(const KeyNames& names, const char* what)
{
    return host::SystemReason(kStore, std::string(what) + " in " + names.folder);
}

/// Makes the directory of a new pair, named by the time `when`.
Result<std::string> MakePairDirectory(const KeyNames& names, time_t when)
{
    struct tm parts {};
    char date[32];
    gmtime_r(&when, &parts);
    strftime(date, sizeof(date), "%Y%m%dT%H%M%SZ", &parts);
    for (int number = 1; number <= kMostPairsASecond; ++number) {
        std::string name = std::string(kPair) + "-" + date;
        if (number > 1) name += "-" + std::to_string(number);
        if (mkdir((names.folder + name).c_str(), 0700) == 0) return name;
        if (errno != EEXIST) break;
    }
    return PairReason(names, "cannot make the folder of a key pair");
}

/// Writes one key of a pair; an empty text is skipped.
bool WriteHalf(const std::string& path, const std::string& text, mode_t mode)
{
    return text.empty() || host::ReplaceFile(path, text, mode);
}

/// Writes both keys into a new directory and returns its name.
Result<std::string> StorePair(const KeyNames& names, const KeyTexts& keys, time_t when)
{
    Result<std::string> pair = MakePairDirectory(names, when);
    if (!pair) return pair;

    const std::string inside = names.folder + *pair + "/";
    if (WriteHalf(inside + names.privateName, keys.privateKey, 0600) &&
        WriteHalf(inside + names.publicName, keys.publicKey, 0644)) {
        return pair;
    }
    Reason reason = PairReason(names, "cannot write a key pair");
    (void)unlink((inside + names.privateName).c_str());
    (void)rmdir(inside.c_str());
    return reason;
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
Result<void> AdoptPlainFiles(const KeyNames& names)
{
    const std::string privatePath = names.folder + names.privateName;
    const std::string publicPath = names.folder + names.publicName;
    if (!IsPlainFile(privatePath) && !IsPlainFile(publicPath)) return {};

    KeyTexts keys;
    if (!ReadHalf(privatePath, keys.privateKey) || !ReadHalf(publicPath, keys.publicKey)) {
        return PairReason(names, "cannot read the key pair");
    }

    struct stat info {};
    (void)lstat((IsPlainFile(privatePath) ? privatePath : publicPath).c_str(), &info);
    Result<std::string> pair = StorePair(names, keys, info.st_mtime);
    if (!pair) return std::move(pair).reason();
    return host::generation::ReplaceByLink(names.folder + kPair, *pair);
}

/// Makes the path of one key a link through `pair`.
Result<void> LeadThroughLink(const KeyNames& names, const std::string& name)
{
    const std::string target = std::string(kPair) + "/" + name;
    return host::generation::ReplaceByLink(names.folder + name, target);
}

/// Makes a stored pair the current one. The previous pair stays complete until the last rename.
Result<void> TurnTo(const KeyNames& names, const std::string& pair)
{
    Result<void> done = AdoptPlainFiles(names);
    if (done) done = LeadThroughLink(names, names.privateName);
    if (done) done = LeadThroughLink(names, names.publicName);
    if (done) done = host::generation::ReplaceByLink(names.folder + kPair, pair);
    return done;
}

/// Stores both keys and makes them the current pair; likewise.
Result<void> PutPair(const KeyNames& names, const KeyTexts& keys)
{
    Result<std::string> pair = StorePair(names, keys, time(nullptr));
    return pair ? TurnTo(names, *pair) : std::move(pair).reason();
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
Result<void> MakePair(const KeyNames& names, const std::string& privateKey)
{
    KeyTexts keys;
    Result<std::string> publicKey = OpensslOutput({"pkey", "-in", privateKey, "-pubout"});
    if (!publicKey) return std::move(publicKey).reason();
    if (host::PemBlock(*publicKey, "PUBLIC KEY").empty()) {
        return Reason{ReasonCode::kDamaged, kStore, privateKey + " gives no public key"};
    }
    keys.publicKey = *std::move(publicKey);
    if (!host::ReadFile(privateKey, keys.privateKey)) {
        return PairReason(names, "cannot read the private key");
    }
    return PutPair(names, keys);
}

/// Puts a stored pair in place that the signer takes.
Result<void> SignWith(const KeyNames& names, const std::string& pair)
{
    Result<void> done = TurnTo(names, pair);
    if (!done) return done;
    Result<void> restarted = host::daemons::RunControlScript(host::daemons::kDkimFilter, "restart");
    if (restarted) return restarted;
    return Reason{ReasonCode::kDaemonRefuses,
                  pair,
                  "the signer does not come up with it",
                  {std::move(restarted).reason()}};
}

}  // namespace

std::vector<host::pages::StoredPair> host::pages::StoredPairs()
{
    const KeyNames names = OwnNames();
    std::error_code error;
    const std::string signing =
        std::filesystem::read_symlink(names.folder + kPair, error).filename().string();
    std::vector<StoredPair> pairs;
    for (const auto& entry : std::filesystem::directory_iterator(names.folder, error)) {
        const std::string name = entry.path().filename().string();
        if (!IsStoredPair(names, name)) continue;
        pairs.push_back({name.substr(sizeof kPair),
                         PublicKeyIn(entry.path().string() + "/" + names.publicName),
                         name == signing});
    }
    std::sort(pairs.begin(), pairs.end(),
              [](const auto& one, const auto& other) { return one.date < other.date; });
    return pairs;
}

std::string host::pages::SigningPublicKey()
{
    return PublicKeyIn(host::PackagePath(kFolder) + kPublic);
}

host::Result<void> host::pages::RestoreKeyPair(const std::string& pair)
{
    const save::WriteScope scope;
    if (!scope.ready()) return scope.ready();
    const KeyNames names = OwnNames();
    Result<void> done = AdoptPlainFiles(names);
    if (!done) return done;
    if (!IsStoredPair(names, pair)) {
        return Reason{ReasonCode::kMissing, pair,
                      "there is no key pair '" + pair.substr(0, 64) + "'"};
    }

    std::error_code error;
    const std::string before =
        std::filesystem::read_symlink(names.folder + kPair, error).filename().string();
    done = SignWith(names, pair);
    if (done) return done;

    if (!before.empty()) (void)Succeeded(SignWith(names, before));
    return std::move(done).reason().Causing(
        pair, "the key pair '" + pair + "' is not taken; the one before stays");
}

int GenerateRSAPrivateKey(const char* path, unsigned int bits)
{
    const std::string waiting = WaitingKey(host::Path(path));
    const Result<std::string> key = OpensslOutput({"genrsa", std::to_string(bits)});
    if (!host::Succeeded(key)) return -1;
    if (host::ReplaceFile(waiting, *key, 0600)) return 0;
    return host::Status(Result<void>(host::SystemReason(kStore, "cannot write " + waiting)));
}

int GenerateRSAPublicKey(const char* privatePath, const char* publicPath)
{
    const std::string current = host::Path(privatePath);
    const std::string waiting = WaitingKey(current);
    const KeyNames names{FolderOf(current), NameOf(privatePath), NameOf(publicPath)};
    const Result<void> done =
        MakePair(names, host::system::NameExists(waiting) ? waiting : current);
    (void)unlink(waiting.c_str());
    return host::Status(Result<void>(done).About(kStore));
}

int ReadRSAPublicKey(const char* path, std::string& text)
{
    std::string read;
    if (!host::ReadFile(host::Path(path), read)) {
        return host::Status(
            Result<void>(host::SystemReason(kStore, std::string("cannot read ") + path)));
    }
    text = read;
    return 0;
}
