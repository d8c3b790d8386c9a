// What a program asks of the requests that it answers. Provided by the program.
#pragma once

#include <string>

/// What a request has to bring, and what is done for it.
struct RequestDemands {
    bool changes = false;  ///< gets an audit line, and is not interrupted by signals
    bool proof = false;    ///< has to show that no page of another site sent it; a JSON body does
    bool lock = false;     ///< no other change goes on until the process ends
    bool settles = false;  ///< is made although a change waits to be confirmed
    bool alone = false;    ///< no other request of its name is answered at the same time
    unsigned seconds = 0;  ///< after which the process is ended; 0 for no limit
};

/// The rules of one program.
class RequestRules {
public:
    virtual ~RequestRules() = default;

    /// The parameter, or the member of a body, that tells what is asked for.
    virtual const char* NameMember() const = 0;

    /// The demands on a request for `name`, which is empty until its body has been read.
    /// `hasBody`: it comes with a JSON body or an upload.
    virtual RequestDemands DemandsOf(const std::string& name, bool hasBody) const = 0;
};
