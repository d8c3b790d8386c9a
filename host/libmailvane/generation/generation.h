// Generations: everything that is generated for the daemons lies in one directory, and one symbolic
// link says which directory is in force. Changing it is one rename.
#pragma once

#include <sys/types.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/list_file.h"

namespace host::generation {

/// etc/generated, and the directory of one generation in it.
std::string GeneratedDirectory();
std::string GenerationDirectory(const std::string& name);

/// Name of the generation in force; empty when there is none.
std::string CurrentGeneration();

/// Puts a complete generation in force and waits until the disk knows.
Result<void> Activate(const std::string& name);

/// Removes what is left of abandoned generations and all complete ones but those in force, `keep`
/// and the newest others, five in all.
void PruneGenerations(const std::string& keep);

/// Removes one generation that is not in force.
void RemoveGeneration(const std::string& name);

/// Removes the generations after `name` that never came into force.
void RemoveGenerationsAfter(const std::string& name);

/// Makes `path` a symbolic link to `target` in one step, whatever it was before.
Result<void> ReplaceByLink(const std::string& path, const std::string& target);

/// Name and checksum of each file of a generation, by its path there.
using Manifest = std::map<std::string, std::string>;

/// The generation that a change is about to put in force. It starts empty; files whose bytes are
/// those of the generation in force are shared with it and keep their times. Others get a time a
/// minute ago, since Postfix waits two seconds for a file that has just changed. Everything fails
/// quietly after the first failure; `Complete` tells which it was. Requires the request lock.
class NextGeneration {
public:
    NextGeneration();
    /// Removes the directory unless it is in force.
    ~NextGeneration();
    NextGeneration(const NextGeneration&) = delete;
    NextGeneration& operator=(const NextGeneration&) = delete;

    /// Writes a file; `relative` is its path in the generation.
    void Put(const std::string& relative, const std::string& bytes, mode_t mode);

    /// Writes the text of a map and has it compiled (`name`.cdb) when it changed.
    void PutMap(const std::string& name, const std::string& text, mode_t mode = 0644);

    /// Writes, and compiles, a file that a list fills.
    void Put(const ListFile& file);

    /// Whether `relative` was put, or stands in the generation in force.
    bool Has(const std::string& relative) const;

    /// Takes a file over from the generation in force; one that is not there is left out.
    void Keep(const std::string& relative);

    /// Makes `Complete` fail with what could not be done, and errno.
    void Fail(const char* doing, const std::string& what);

    /// Makes `Complete` fail.
    void Fail(Reason reason);

    /// Takes over every file that was not put, compiles maps, writes the manifest. Fails when
    /// anything has failed.
    Result<void> Complete();

    /// Puts it in force. After a failure the old one is in force.
    Result<void> Commit();

    /// Whether a file under `prefix` differs from the generation in force. After `Complete`.
    bool Changed(const std::string& prefix) const;

    const std::string& name() const { return name_; }
    std::string directory() const { return GenerationDirectory(name_); }

private:
    void Begin(const std::string& relative);
    std::string PathOf(const std::string& relative) const;
    bool ShareUnchanged(const std::string& relative, const std::string& bytes, mode_t mode);
    void KeepRest();
    void CompileMaps();
    void SyncAll();
    void WriteManifest();

    std::string name_;
    std::string before_;  ///< the generation in force at the start
    Manifest beforeFiles_;
    std::set<std::string> files_;
    std::set<std::string> changed_;
    std::map<std::string, mode_t> uncompiled_;  ///< maps to compile, and the mode of the result
    Result<void> state_;                        ///< the first failure
    bool inForce_ = false;
};

/// The files of a complete generation; empty when it is none.
Manifest ReadManifest(const std::string& name);

/// Whether this is the name of a complete generation.
bool IsGeneration(const std::string& name);

}  // namespace host::generation
