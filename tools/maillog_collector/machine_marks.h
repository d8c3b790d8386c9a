// The machines whose lines stand in one log.
#pragma once

#include <string>
#include <string_view>

#include "tools/maillog_collector/log_event.h"

namespace collector {

/// Keeps apart what machines log: two of them may use one queue id. Ids of another machine than
/// this one get its name before them: `mx2/4Xy1Pq2bRzz9Q`.
class MachineMarks {
public:
    MachineMarks();

    /// Marks the ids of an event, until the next call, by the machine that its line names. False
    /// when that is no name.
    bool Put(std::string_view machine, Event& event);

    /// What was put before the ids; empty for this machine.
    const std::string& Mark() const { return mark_; }

private:
    std::string own_;  ///< name of this machine
    std::string mark_;
    std::string id_;
    std::string other_;
};

/// A queue id without the mark of its machine.
std::string_view WithoutMark(std::string_view id);

}  // namespace collector
