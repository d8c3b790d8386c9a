// Facts about the current request that its settings do not tell.
#pragma once

#include <string>

namespace host {

/// What an upload is called, which names no action.
constexpr char kUploadAction[] = "upload";

struct RequestNote {
    std::string action;          ///< empty where no request is served
    std::string caller = {};     ///< who makes it; empty for the machine itself
    bool typesPassword = false;  ///< the password in it was typed, not left as the form showed it
};

/// Sets the facts, for the rest of the process.
void NoteRequest(const RequestNote& note);

const RequestNote& NotedRequest();

}  // namespace host
