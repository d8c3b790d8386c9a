// Generations of the daemons' files: directories etc/generated/gen-NNNNNN and the link `current`.
// The file `manifest` is written last and marks a generation as complete.
#include "host/libmailvane/generation/generation.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/request_note.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/system/durable_move.h"
#include "host/libmailvane/system/manifest.h"

namespace fs = std::filesystem;

namespace host::generation {

namespace {

const char kPrefix[] = "gen-";
const char kSettings[] = "mailvane.conf";

// Names the filters that the mail server calls. Its processes read it whenever one begins.
const char kMainFile[] = "postfix/main.cf";
const char kHeldBack[] = "postfix/main.cf.held";

constexpr std::size_t kKept = 5;
constexpr time_t kAge = 60;  // seconds by which the time of a changed file is set back

/// A folder with what administrators watch and whom, and the group of the daemon that reads it.
struct ReservedFolder {
    const char* name;
    const char* group;
};
constexpr ReservedFolder kReservedFolders[] = {
    {"postfix/maps", "postfix"}, {"amavis", "amavis"}, {"policy", "mailvane-policy"}};

/// Closes the reserved folders of a generation to all but root and their daemons. A daemon that is
/// not installed has no group, and one that another user generates for is not this machine's.
bool CloseFolders(const std::string& generation)
{
    for (const ReservedFolder& folder : kReservedFolders) {
        const std::string path = generation + "/" + folder.name;
        if (!system::NameExists(path)) continue;
        if (chmod(path.c_str(), 0750) < 0) return false;

        const group* const reader = geteuid() == 0 ? getgrnam(folder.group) : nullptr;
        if (reader != nullptr && chown(path.c_str(), 0, reader->gr_gid) < 0) return false;
    }
    return true;
}

/// Writes a new file without syncing it: `SyncAll` does that for all files at once.
bool WriteNewFile(const std::string& path, const LongText& text, mode_t mode)
{
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    return file && fchmod(file.get(), mode) == 0 &&
           text.Each([&file](std::string_view piece) { return WriteAll(file.get(), piece); });
}

/// Whether a file has exactly this text.
bool Holds(const std::string& path, const LongText& text)
{
    std::ifstream file(path, std::ios::binary);
    std::string bytes;
    return text.Each([&](std::string_view piece) {
        bytes.resize(piece.size());
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return file && bytes == piece;
    }) && file.peek() == std::ifstream::traits_type::eof();
}

void DateBack(const std::string& path, time_t age)
{
    const timespec then{time(nullptr) - age, 0};
    const timespec times[2] = {then, then};
    (void)utimensat(AT_FDCWD, path.c_str(), times, 0);
}

/// Names of all generations, complete or not, oldest first.
std::vector<std::string> AllGenerations()
{
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(GeneratedDirectory(), error)) {
        std::string name = entry.path().filename().string();
        if (name.rfind(kPrefix, 0) == 0) names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string NextName()
{
    const std::vector<std::string> names = AllGenerations();
    return NameOf(names.empty() ? 1 : NumberOf(names.back()) + std::size_t{1});
}

/// Makes a path a symbolic link, in one step.
bool TurnLink(const std::string& path, const std::string& target)
{
    const std::string temporary = path + ".new";
    (void)unlink(temporary.c_str());
    if (symlink(target.c_str(), temporary.c_str()) != 0) return false;
    if (rename(temporary.c_str(), path.c_str()) == 0) return true;

    const int error = errno;
    (void)unlink(temporary.c_str());
    errno = error;
    return false;
}

/// What the manifest of a generation that is made now says of its origin.
system::Origin OriginOfThis()
{
    const RequestNote& request = NotedRequest();
    return {request.caller, request.action, static_cast<std::int64_t>(time(nullptr))};
}

/// Saves a copy of each file in force that was edited by hand, and logs it.
void KeepEditedFiles(const std::string& name, const Manifest& files)
{
    for (const auto& [relative, checksum] : files) {
        // The settings file is changed by other writers too.
        if (relative == kSettings) continue;

        std::string bytes;
        const std::string path = GenerationDirectory(name) + "/" + relative;
        if (system::ChecksumOf(path).value_or(checksum) == checksum) continue;
        if (!ReadFile(path, bytes)) continue;

        std::string flat = name;
        flat.append("-").append(relative);
        std::replace(flat.begin(), flat.end(), '/', '-');
        const std::string aside = PackagePath("etc/edited/" + flat);
        if (MakeDirectories(PackagePath("etc/edited"), 0700)) (void)ReplaceFile(aside, bytes, 0600);
        Log(LOG_WARNING, "%s was edited by hand; the edited file is kept as %s", path.c_str(),
            aside.c_str());
    }
}

}  // namespace

std::string GeneratedDirectory()
{
    return PackagePath("etc/generated");
}

std::string GenerationDirectory(const std::string& name)
{
    return GeneratedDirectory() + "/" + name;
}

std::string CurrentGeneration()
{
    std::error_code error;
    return fs::read_symlink(GeneratedDirectory() + "/current", error).filename().string();
}

std::uint32_t NumberOf(const std::string& name)
{
    std::uint32_t number = 0;
    const std::size_t start = std::min(sizeof(kPrefix) - 1, name.size());
    (void)std::from_chars(name.data() + start, name.data() + name.size(), number);
    return number;
}

std::string NameOf(std::size_t number)
{
    char name[32];
    std::snprintf(name, sizeof(name), "%s%06zu", kPrefix, number);
    return name;
}

std::vector<std::string> EarlierGenerations()
{
    std::vector<std::string> names = AllGenerations();
    names.erase(std::remove(names.begin(), names.end(), CurrentGeneration()), names.end());
    return names;
}

Result<void> ReplaceByLink(const std::string& path, const std::string& target)
{
    std::error_code error;
    const std::string before = fs::read_symlink(path, error).string();
    if (TurnLink(path, target) && system::SyncFolderOf(path)) return {};

    Result<void> failed = SystemReason(path, "cannot link " + path + " to " + target);
    // A link that was turned, but not so that the disk knows, is turned back.
    if (!before.empty() && fs::read_symlink(path, error) != before && TurnLink(path, before)) {
        (void)system::SyncFolderOf(path);
    }
    return failed;
}

Result<void> Activate(const std::string& name)
{
    return ReplaceByLink(GeneratedDirectory() + "/current", name)
        .Prefixed("cannot put " + name + " in force: ");
}

void RemoveGeneration(const std::string& name)
{
    if (name.empty() || name == CurrentGeneration()) return;

    std::error_code error;
    // The manifest goes first, so that a killed removal leaves an incomplete generation.
    fs::remove(GenerationDirectory(name) + "/" + system::kManifestName, error);
    fs::remove_all(GenerationDirectory(name), error);
}

void RemoveGenerationsAfter(const std::string& name)
{
    for (const std::string& other : AllGenerations()) {
        if (other > name) RemoveGeneration(other);
    }
}

void PruneGenerations(const std::string& keep)
{
    const std::string current = CurrentGeneration();
    std::vector<std::string> names = AllGenerations();
    std::size_t kept = 0;
    for (auto name = names.rbegin(); name != names.rend(); ++name) {
        const bool complete = !ReadManifest(*name).empty();
        if (*name == current || *name == keep || (complete && kept < kKept)) {
            ++kept;
            (void)CloseFolders(GenerationDirectory(*name));  // of an earlier version they were open
        } else {
            RemoveGeneration(*name);
        }
    }
}

Manifest ReadManifest(const std::string& name)
{
    return name.empty() ? Manifest() : system::ReadManifest(GenerationDirectory(name));
}

Result<void> RepairManifest()
{
    const std::string name = CurrentGeneration();
    if (name.empty() || !ReadManifest(name).empty()) return {};

    const std::string folder = GenerationDirectory(name);
    std::error_code error;
    Manifest files;
    for (const auto& entry : fs::recursive_directory_iterator(folder, error)) {
        const std::string relative = entry.path().lexically_relative(folder).string();
        if (!entry.is_regular_file(error) || relative == system::kManifestName) continue;
        const auto checksum = system::ChecksumOf(entry.path().string());
        if (!checksum) return SystemReason(relative, "cannot read " + entry.path().string());
        files[relative] = *checksum;
    }
    if (files.empty() || !system::WriteManifest(folder, files, OriginOfThis())) {
        return SystemReason(name, "cannot make the manifest of " + name);
    }
    Log(LOG_NOTICE, "the manifest of %s was made anew from its files", name.c_str());
    return {};
}

Result<void> ReleaseMainFile()
{
    const std::string folder = GenerationDirectory(CurrentGeneration()) + "/";
    const std::string path = folder + kMainFile;
    const bool isDone = rename((folder + kHeldBack).c_str(), path.c_str()) == 0
                            ? system::SyncFolderOf(path)
                            : errno == ENOENT;
    if (isDone) return {};
    return SystemReason(path, "cannot put " + path + " in its place");
}

bool IsGeneration(const std::string& name)
{
    return name.rfind(kPrefix, 0) == 0 &&
           name.find_first_not_of("0123456789", sizeof(kPrefix) - 1) == std::string::npos &&
           !ReadManifest(name).empty();
}

NextGeneration::NextGeneration() : before_(CurrentGeneration()), beforeFiles_(ReadManifest(before_))
{
    name_ = NextName();
    // Without its manifest, no file of the generation in force could be kept.
    if (!before_.empty() && beforeFiles_.empty()) {
        Fail(
            Reason{ReasonCode::kDamaged, before_,
                   "the manifest of " + before_ + " is damaged; mailvanectl repair makes it anew"});
    }
    KeepEditedFiles(before_, beforeFiles_);
    if (!MakeDirectories(directory(), 0755)) Fail("make directory", directory());
}

NextGeneration::~NextGeneration()
{
    if (!inForce_) RemoveGeneration(name_);
}

void NextGeneration::Fail(const char* doing, const std::string& what)
{
    Fail(SystemReason(what, std::string("cannot ") + doing + " " + what));
}

void NextGeneration::Fail(Reason reason)
{
    if (state_) state_ = std::move(reason);
}

std::string NextGeneration::PathOf(const std::string& relative) const
{
    return directory() + "/" + relative;
}

bool NextGeneration::Has(const std::string& relative) const
{
    return files_.count(relative) != 0 || beforeFiles_.count(relative) != 0;
}

bool NextGeneration::ShareUnchanged(const std::string& relative, const LongText& text, mode_t mode)
{
    const std::string old = GenerationDirectory(before_) + "/" + relative;
    struct stat info {};
    if (before_.empty() || stat(old.c_str(), &info) < 0 || (info.st_mode & 07777U) != mode ||
        !Holds(old, text)) {
        return false;
    }

    return link(old.c_str(), PathOf(relative).c_str()) == 0;
}

void NextGeneration::Begin(const std::string& relative)
{
    files_.insert(relative);
    // Directories can be read by all, since the daemons run as different users.
    const std::string folder = fs::path(PathOf(relative)).parent_path().string();
    if (!MakeDirectories(folder, 0755)) Fail("make directory", folder);
}

void NextGeneration::Put(const std::string& relative, const LongText& text, mode_t mode)
{
    if (!state_) return;

    Begin(relative);
    if (ShareUnchanged(relative, text, mode)) return;

    changed_.insert(relative);
    if (!WriteNewFile(PathOf(relative), text, mode)) Fail("write", relative);
    DateBack(PathOf(relative), kAge);
}

void NextGeneration::PutMap(const std::string& name, const LongText& text, mode_t mode)
{
    const std::string source = ListFile{name, "", true}.Path();
    const std::string compiled = source + ".cdb";
    Put(source, text, mode);
    if (changed_.count(source) == 0 && beforeFiles_.count(compiled) != 0) {
        Keep(compiled);
    } else {
        uncompiled_[source] = {
            compiled, mode, {programs::kPostmap, "-c", PathOf("postfix"), "cdb:" + PathOf(source)}};
    }
}

void NextGeneration::PutScript(const std::string& relative, const std::string& text)
{
    constexpr mode_t readable = 0644;
    const std::string compiled = fs::path(relative).replace_extension(".svbin");
    Put(relative, text, readable);
    // What is compiled holds the path of its source, and is good for this generation alone.
    uncompiled_[relative] = {
        compiled,
        readable,
        {programs::kSievec, "-c", "/dev/null", "-P", "sieve_imapsieve", "-P", "sieve_extprograms",
         "-x", "+imapsieve +vnd.dovecot.pipe", PathOf(relative), PathOf(compiled)}};
}

void NextGeneration::Put(const ListFile& file)
{
    if (file.isMap) {
        PutMap(file.name, file.text);
    } else {
        Put(file.name, file.text, 0644);
    }
}

void NextGeneration::Keep(const std::string& relative)
{
    const std::string old = GenerationDirectory(before_) + "/" + relative;
    if (files_.count(relative) == 0 && system::NameExists(old)) Take(before_, relative);
}

void NextGeneration::Take(const std::string& from, const std::string& relative)
{
    if (!state_) return;
    const std::string old = GenerationDirectory(from) + "/" + relative;
    Begin(relative);
    if (link(old.c_str(), PathOf(relative).c_str()) < 0) Fail("keep", relative);
}

void NextGeneration::TakeAll(const std::string& earlier)
{
    const Manifest files = ReadManifest(earlier);
    if (files.empty()) Fail(Reason{ReasonCode::kDamaged, earlier, earlier + " is not whole"});
    isWhole_ = true;
    for (const auto& [relative, checksum] : files) {
        Take(earlier, relative);
        const auto now = beforeFiles_.find(relative);
        if (now == beforeFiles_.end() || now->second != checksum) changed_.insert(relative);
    }
}

void NextGeneration::KeepRest()
{
    if (isWhole_) return;
    std::set<std::string> renewed;
    for (const auto& [source, compilation] : uncompiled_) renewed.insert(compilation.result);
    for (const auto& [relative, checksum] : beforeFiles_) {
        if (renewed.count(relative) == 0) Keep(relative);
    }
}

void NextGeneration::Compile()
{
    std::vector<std::vector<std::string>> programs;
    for (const auto& [source, compilation] : uncompiled_) programs.push_back(compilation.command);
    const std::vector<ProgramResult> results = RunPrograms(programs);
    auto result = results.begin();
    for (const auto& [source, compilation] : uncompiled_) {
        const std::string& compiled = compilation.result;
        if (!result->Succeeded()) {
            Reason reason = result->done.reason();
            Fail(std::move(reason).Causing(source, "cannot compile " + source));
        }
        ++result;
        (void)chmod(PathOf(compiled).c_str(), compilation.mode);
        // Dovecot reads a compiled script that is newer than its source.
        DateBack(PathOf(compiled), kAge - 1);
        files_.insert(compiled);
        if (changed_.count(source) != 0 || beforeFiles_.count(compiled) == 0) {
            changed_.insert(compiled);
        }
    }
}

void NextGeneration::WriteManifest()
{
    Manifest files;
    for (const std::string& relative : files_) {
        const auto checksum = system::ChecksumOf(PathOf(relative));
        if (!checksum) Fail("read back", relative);
        files[relative] = checksum.value_or("");
    }
    if (state_ && !system::WriteManifest(directory(), files, OriginOfThis())) {
        Fail("write", system::kManifestName);
    }
}

/// Syncs all new files and directories. The first sync takes nearly all of the time.
void NextGeneration::SyncAll()
{
    std::set<std::string> paths{directory()};
    for (const std::string& relative : changed_) paths.insert(PathOf(relative));
    for (const std::string& relative : files_) {
        paths.insert(fs::path(PathOf(relative)).parent_path().string());
    }
    for (const std::string& path : paths) {
        if (!system::SyncPath(path)) Fail("sync", path);
    }
}

/// Whether everything that was put is in force already.
bool NextGeneration::IsTheSame() const
{
    return changed_.empty() &&
           std::all_of(uncompiled_.begin(), uncompiled_.end(), [this](const auto& source) {
               return beforeFiles_.count(source.second.result) != 0;
           });
}

Result<void> NextGeneration::Complete()
{
    KeepRest();
    if (!state_ || IsTheSame()) return state_;
    Compile();
    if (state_ && !CloseFolders(directory())) Fail("close folders of", name_);
    if (state_) SyncAll();
    if (state_) WriteManifest();
    return state_;
}

Result<void> NextGeneration::Commit()
{
    if (state_) state_ = Activate(name_);
    inForce_ = static_cast<bool>(state_);
    return state_;
}

Result<void> NextGeneration::CommitButMainFile()
{
    // What is taken whole may lack files that the main file in force names.
    if (isWhole_ || !Changed(kMainFile) || beforeFiles_.count(kMainFile) == 0) return Commit();

    const std::string path = PathOf(kMainFile);
    const std::string old = GenerationDirectory(before_) + "/" + kMainFile;
    if (state_ && (rename(path.c_str(), PathOf(kHeldBack).c_str()) < 0 ||
                   link(old.c_str(), path.c_str()) < 0 || !system::SyncFolderOf(path))) {
        Fail("hold back", kMainFile);
    }
    return Commit();
}

bool NextGeneration::Changed(const std::string& prefix) const
{
    const auto first = changed_.lower_bound(prefix);
    return first != changed_.end() && first->compare(0, prefix.size(), prefix) == 0;
}

}  // namespace host::generation
