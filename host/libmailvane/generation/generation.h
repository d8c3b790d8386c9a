// Generations: directories with everything that is generated for the daemons. The symbolic link
// `current` names the one in force; activating another is one rename.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/generation/long_text.h"
#include "host/libmailvane/system/manifest.h"

namespace host::generation {

/// Path of etc/generated, and of the directory of one generation in it.
std::string GeneratedDirectory();
std::string GenerationDirectory(const std::string& name);

/// Name of the generation in force; empty when there is none.
std::string CurrentGeneration();

/// The number in the name of a generation, and the name of a number.
std::uint32_t NumberOf(const std::string& name);
std::string NameOf(std::size_t number);

/// Names of all generations but the one in force.
std::vector<std::string> EarlierGenerations();

/// Points the link at a complete generation and syncs it to disk.
Result<void> Activate(const std::string& name);

/// Removes incomplete generations and all but five complete ones: the one in force, `keep` and the
/// newest others stay.
void PruneGenerations(const std::string& keep);

/// Removes one generation that is not in force.
void RemoveGeneration(const std::string& name);

/// Removes the generations after `name` that were never activated.
void RemoveGenerationsAfter(const std::string& name);

/// Makes `path` a symbolic link to `target` atomically, replacing a file or link. After a failure
/// it is the link that it was.
Result<void> ReplaceByLink(const std::string& path, const std::string& target);

using system::Manifest;

/// The generation being built for a change. Files with the same bytes as in the generation in force
/// are shared with it (hard links) and keep their times. The others are dated a minute back, since
/// Postfix waits for a file changed in the last two seconds. After a failure all operations do
/// nothing, and `Complete` returns the first reason. Requires the request lock.
class NextGeneration {
public:
    NextGeneration();
    /// Removes the directory unless it is in force.
    ~NextGeneration();
    NextGeneration(const NextGeneration&) = delete;
    NextGeneration& operator=(const NextGeneration&) = delete;

    /// Writes a file; `relative` is its path in the generation.
    void Put(const std::string& relative, const LongText& text, mode_t mode);

    /// Writes the source text of a map; `Complete` compiles it to `name`.cdb when it changed.
    void PutMap(const std::string& name, const LongText& text, mode_t mode = 0644);

    /// Writes the text of a Sieve script, `relative` ends with ".sieve"; `Complete` compiles it.
    void PutScript(const std::string& relative, const std::string& text);

    /// Writes, and compiles, a file that a list fills.
    void Put(const ListFile& file);

    /// Whether `relative` was put or is in the generation in force.
    bool Has(const std::string& relative) const;

    /// Takes a file over from the generation in force, if it is there.
    void Keep(const std::string& relative);

    /// Takes all files from an earlier generation, as they are there, and none from the one in
    /// force.
    void TakeAll(const std::string& earlier);

    /// Makes `Complete` fail with "cannot `doing` `what`" and errno.
    void Fail(const char* doing, const std::string& what);

    /// Makes `Complete` fail with this reason.
    void Fail(Reason reason);

    /// Compiles maps and scripts, and writes the manifest, after taking over all files of the
    /// generation in force that were not put. Returns the first failure. One that is to be the same
    /// as the generation in force stays incomplete.
    Result<void> Complete();

    /// Activates the generation. After a failure the previous one is in force.
    Result<void> Commit();

    /// The same, but the mail server's processes go on with their main file of the previous
    /// generation until `ReleaseMainFile`, unless all files are taken from an earlier one.
    Result<void> CommitButMainFile();

    /// Whether a file whose path begins with `prefix` differs from the generation in force; ""
    /// means any file. To be called after `Complete`.
    bool Changed(const std::string& prefix) const;

    const std::string& name() const { return name_; }
    std::string directory() const { return GenerationDirectory(name_); }

private:
    /// What is to be made of a source.
    struct Compilation {
        std::string result;
        mode_t mode;
        std::vector<std::string> command;
    };

    void Begin(const std::string& relative);
    std::string PathOf(const std::string& relative) const;
    bool ShareUnchanged(const std::string& relative, const LongText& text, mode_t mode);
    void Take(const std::string& from, const std::string& relative);
    void KeepRest();
    bool IsTheSame() const;
    void Compile();
    void SyncAll();
    void WriteManifest();

    std::string name_;
    std::string before_;  ///< the generation in force at the start
    Manifest beforeFiles_;
    std::set<std::string> files_;
    std::set<std::string> changed_;
    std::map<std::string, Compilation> uncompiled_;  ///< maps and scripts, by their sources
    Result<void> state_;                             ///< the first failure
    bool isWhole_ = false;                           ///< nothing of the one in force is kept
    bool inForce_ = false;
};

/// The files of a complete generation; empty when it is incomplete or missing.
Manifest ReadManifest(const std::string& name);

/// Makes the manifest of the generation in force anew from its files where it is missing or
/// damaged, which keeps every change away. Requires the request lock.
Result<void> RepairManifest();

/// Puts the main file of the generation in force in its place, if it was held back.
Result<void> ReleaseMainFile();

/// Whether this is the name of a complete generation.
bool IsGeneration(const std::string& name);

}  // namespace host::generation
