// Calls of the program, their parameters and answers.
#pragma once

#include <json/value.h>

#include <string>
#include <vector>

#include "host/libhaldcore/result.h"

namespace upkeep {

/// What was sent with a call: the parameters of a query, or the members of a JSON body.
class Parameters {
public:
    explicit Parameters(const Json::Value& members) : members_(members) {}

    /// A text; empty when it is missing or something else.
    std::string Text(const char* name) const;

    /// The texts of a list; what is no text is left out.
    std::vector<std::string> Texts(const char* name) const;

    /// A number, which may be written as a text; `fallback` when it is missing or none, `most` at
    /// most.
    std::size_t Number(const char* name, std::size_t fallback, std::size_t most) const;

    /// Whether a switch is there and on.
    bool IsOn(const char* name) const;

private:
    const Json::Value& members_;
};

/// What a call does: it returns the members of its answer, or the reason why there is none.
using Handler = host::Result<Json::Value> (*)(const Parameters& parameters);

}  // namespace upkeep
