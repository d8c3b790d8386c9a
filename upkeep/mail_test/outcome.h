// What became of a message, by the lines of the mail server's log.
#pragma once

#include <json/value.h>

#include <string>

namespace upkeep {

struct Outcome {
    enum class State { kUnderWay, kDelivered, kWaits, kRefused };

    State state = State::kUnderWay;
    std::string reason;  ///< of the mail server, where it waits or was refused
};

/// Looks at the lines of one message, a list of texts. It is delivered once every recipient has it
/// and the queue has not.
Outcome OutcomeOf(const Json::Value& lines);

}  // namespace upkeep
