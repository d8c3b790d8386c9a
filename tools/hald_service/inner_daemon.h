// A daemon behind a unix socket. It takes up a new configuration by a fresh start, and gets none
// while nothing it was started with has changed.
#pragma once

#include "tools/hald_service/supervisor.h"

namespace service {

class InnerDaemon : public Supervisor {
public:
    using Supervisor::Supervisor;

    bool BringUp() override;
    bool IsUp() override;

protected:
    bool Prepare() override;
    bool Finish() override;
    void Knock() override;
    bool AreOurs(const ProcessSet& orphans) const override;

    /// What else it needs, in the folder that it now has.
    virtual bool PrepareMore() { return true; }
    /// Files that it reads beside those of the generation.
    virtual std::vector<std::string> MoreFiles() const { return {}; }
    /// Whether it answers at its socket as it should.
    virtual bool Answers() { return true; }

    /// Whether it is up and was started with what there is now.
    bool IsUpToDate();

private:
    std::string Fingerprint() const;
    std::string StartedFile() const;

    std::string started_;
};

/// What a server at a unix socket answers to a text, up to as many bytes; less when it takes longer
/// than a few seconds.
std::string Ask(const std::string& socket, const std::string& text, std::size_t size);

/// Makes a name a link to a file (both as the machine has them).
bool Lead(const std::string& name, const std::string& file);

}  // namespace service
