// What was sent with a call.
#pragma once

#include <json/value.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/libhaldcore/result.h"
#include "platform/web/web_man.h"

namespace upkeep {

/// Reads the parameters of a query, or the members of a JSON body. What is missing or of another
/// type is as if it were not there; the request stays the caller's.
class Request {
public:
    explicit Request(WebMan& web) : web_(web) {}

    /// A text; empty when it is missing.
    std::string Text(const char* name) const;

    /// The texts of a list, which only a body has.
    std::vector<std::string> Texts(const char* name) const;

    /// A number that is not negative, in a query as digits; `fallback` when it is missing, and
    /// `most` when it is larger.
    std::size_t Number(const char* name, std::size_t fallback, std::size_t most) const;

    /// Whether a switch is on: true in a body, "true" in a query.
    bool IsOn(const char* name) const;

    /// The login name of who calls; never empty in an authorized request.
    std::string Caller() const;

private:
    const Json::Value& Member(const char* name) const;

    WebMan& web_;
};

/// The members of a call's answer.
using Answer = host::Result<Json::Value>;

/// What a call answers with in place of JSON.
struct Download {
    std::string name;             ///< of the file as which it is saved: letters, digits, "-_."
    std::function<void()> write;  ///< writes its bytes to the standard output
};

/// The answer of a call that tells nothing but that it was done, or why not.
Answer Done(host::Result<void> result);

}  // namespace upkeep
