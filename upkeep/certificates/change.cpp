// Putting another certificate in force. Stages it in a folder of etc/, which is exchanged for
// etc/tls; what was there before lies in etc/replaced/tls then.
#include "upkeep/certificates/change.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/save/restore.h"
#include "upkeep/web_server/web_server.h"

namespace upkeep {

namespace fs = std::filesystem;

namespace {

using host::PackagePath;
using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;

constexpr char kStaged[] = "staged-";  // restored archives are staged by this name too
constexpr std::chrono::hours kLeftBehind{1};
constexpr char kCertificate[] = "cert.pem";
constexpr char kKey[] = "key.pem";
constexpr mode_t kFolderMode = 0755;

const Subject kAbout = Subject::List("certificate");

/// Removes folders that killed processes have left, with the keys in them.
void RemoveLeftBehind()
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(PackagePath("etc"), error)) {
        if (entry.path().filename().string().rfind(kStaged, 0) != 0) continue;
        const auto made = entry.last_write_time(error);
        if (error || fs::file_time_type::clock::now() - made < kLeftBehind) continue;
        (void)fs::remove_all(entry.path(), error);
    }
}

/// A folder in etc/ that only root can enter; what is left of it is removed at the end.
class Staging {
public:
    Staging()
    {
        RemoveLeftBehind();
        std::string path = PackagePath(std::string("etc/") + kStaged + "XXXXXX");
        if (mkdtemp(path.data()) != nullptr) path_ = path;
    }
    ~Staging()
    {
        std::error_code error;
        if (!path_.empty()) (void)fs::remove_all(path_, error);
    }
    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    const std::string& Path() const { return path_; }
    std::string TlsFolder() const { return path_ + "/tls"; }

private:
    std::string path_;
};

Reason CannotStage()
{
    return host::SystemReason(kAbout, "the certificate cannot be staged");
}

/// Copies a file with its mode, or a link as it is.
bool Copy(const fs::path& from, const std::string& to)
{
    struct stat info {};
    std::error_code error;
    std::string bytes;
    if (lstat(from.c_str(), &info) < 0) return false;
    if (S_ISLNK(info.st_mode)) {
        fs::copy_symlink(from, to, error);
        return !error;
    }
    return S_ISREG(info.st_mode) && host::ReadFile(from, bytes) &&
           host::ReplaceFile(to, bytes, info.st_mode & 07777U);
}

/// Copies the other files of the present folder: those of certificates that sign in, and the
/// administrator's.
bool CopyOthers(const std::string& folder)
{
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(PackagePath("etc/tls"), error)) {
        const fs::path name = entry.path().filename();
        if (name == kCertificate || name == kKey || fs::is_directory(entry.symlink_status()))
            continue;
        if (!Copy(entry.path(), folder + "/" + name.string())) return false;
    }
    return true;
}

Result<void> Stage(const Staging& staging, const CertificatePair& pair)
{
    const std::string folder = staging.TlsFolder();
    const bool isStaged =
        !staging.Path().empty() && mkdir(folder.c_str(), kFolderMode) == 0 &&
        chmod(folder.c_str(), kFolderMode) == 0 && CopyOthers(folder) &&
        (pair.certificate.empty() ||
         (host::ReplaceFile(folder + "/" + kCertificate, pair.certificate, 0644) &&
          host::ReplaceFile(folder + "/" + kKey, pair.key, 0600)));
    if (isStaged) return {};
    return CannotStage();
}

/// Puts back what the last change has replaced.
Result<void> TakeBack()
{
    const Staging staging;
    if (staging.Path().empty()) return CannotStage();
    const std::string before = PackagePath("etc/replaced/tls");
    if (std::rename(before.c_str(), staging.TlsFolder().c_str()) < 0) {
        if (errno != ENOENT) return CannotStage();
        Result<void> staged = Stage(staging, {});
        if (!staged) return staged;
    }
    return host::save::ReplaceCertificate(staging.Path());
}

/// Restarts the web server; takes the change back when it does not come up.
Result<void> RenewWebServer(const WebServer& server)
{
    Result<void> up = server.Restart();
    if (up) return up;
    (void)host::Succeeded(TakeBack());
    (void)host::Succeeded(server.Restart());
    return up;
}

/// The same once the answer, which goes through the web server, has got out.
void RenewAfterAnswer(const WebServer& server)
{
    server.EndGently();
    if (host::Succeeded(RenewWebServer(server))) {
        host::Log(LOG_NOTICE, "the web server shows the certificate in force");
    } else {
        host::Log(LOG_ERR, "the certificate before is in force: the web server did not come up");
    }
}

}  // namespace

Result<WebServerFate> PutInForce(const CertificatePair& pair)
{
    const WebServer server;
    const Staging staging;
    Result<void> done = Stage(staging, pair);
    if (done) done = host::save::ReplaceCertificate(staging.Path());
    if (!done) return std::move(done).reason();

    if (!server.ServesNetwork()) return WebServerFate::kUntouched;
    if (server.IsOurCaller() && DoAfterAnswer([server] { RenewAfterAnswer(server); })) {
        return WebServerFate::kRestarts;
    }
    done = RenewWebServer(server);
    if (!done) return std::move(done).reason();
    return WebServerFate::kRestarted;
}

}  // namespace upkeep
