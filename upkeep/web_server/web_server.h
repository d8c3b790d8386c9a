// The package's web server, which shows the mail server's certificate to other machines.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace upkeep {

/// The web server as it ran when this was made; it can be started again after a failure.
class WebServer {
public:
    WebServer();

    bool Runs() const { return process_ > 0; }

    /// Whether it has a port for other machines.
    bool ServesNetwork() const { return servesNetwork_; }

    /// Whether this process answers a request that came through its gate, which a restart would
    /// wait for.
    bool IsOurCaller() const;

    /// Has it answer what is under way and end, within a few seconds.
    void EndGently() const;

    /// Restarts it with the certificate in force; a reload is not enough, since it reads the key
    /// before it gives up root's rights.
    host::Result<void> Restart() const;

private:
    std::vector<std::string> ports_;  ///< settings in its environment
    bool servesNetwork_ = false;
    int process_ = 0;
};

/// Starts a process of its own that does `work` once this one has answered and ended. It keeps the
/// request lock. False when it cannot be started.
bool DoAfterAnswer(const std::function<void()>& work);

}  // namespace upkeep
