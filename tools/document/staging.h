// A document on its way into force: a staged copy of the stored state with the changes in it.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "host/libhaldcore/unconfirmed.h"
#include "platform/mailvane/callback.h"
#include "tools/document/document.h"

namespace document {

/// What is wanted with a document.
struct Request {
    std::string folder;              ///< an empty one in etc/ that only root can enter
    std::vector<std::string> texts;  ///< the document, and what is laid over it
    std::string secrets;             ///< a map of names and values in YAML; empty for none
    bool prunes = false;
    std::optional<std::int64_t> confirmSeconds = {};  ///< for which it waits to be confirmed
};

/// What a document makes of the stored state.
struct Outcome {
    Faults faults;  ///< with any, the rest is empty
    std::string before;
    std::string after;
    std::vector<Difference> differences;
    std::list<Callback> plan = {};                            ///< that was run, or would be
    std::optional<host::UnconfirmedChange> unconfirmed = {};  ///< it, when it waits
};

/// What is done with what a document makes.
enum class Deed {
    kCompared,
    kRehearsed,  ///< validated too
    kPutInForce
};

/// The state in force.
host::Result<State> StateInForce();

/// Merges a document into a copy of the state in force, and compares the two, or puts the copy in
/// force, when they differ. Requires the request lock throughout.
host::Result<Outcome> Carry(const Request& request, Deed deed);

}  // namespace document
