// A change that is in force and is taken back unless somebody confirms it. While it waits, every
// other change is refused.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldcore/deadline.h"
#include "host/libhaldcore/result.h"

namespace host {

/// What is noted of such a change. It holds while the generation is in force, so that the commit of
/// the change begins it and any other generation ends it.
struct UnconfirmedChange {
    std::string generation;  ///< that the change has made
    std::string before;      ///< the one that was in force before
    std::string undoneBy;    ///< the one that takes it back, once that is under way
    std::string caller;      ///< who made the change
    std::string added;       ///< words: stored files that were not there before
    Deadline deadline;
};

/// The folder of what such a change has replaced, and the note in it.
std::string UnconfirmedFolder();
std::string UnconfirmedNotePath();

/// The note, whether or not it holds; nothing when there is none or it cannot be read.
std::optional<UnconfirmedChange> ReadUnconfirmedNote();

/// Writes the note to the disk; the folder must be there.
Result<void> WriteUnconfirmedNote(const UnconfirmedChange& change);

/// The change that waits to be confirmed. Takes no lock.
std::optional<UnconfirmedChange> FindUnconfirmedChange();

/// Fails, naming who and until when, while a change waits to be confirmed.
Result<void> NothingIsUnconfirmed();

}  // namespace host
