// Facts about the current request that its settings do not tell.
#include "host/libhaldcore/request_note.h"

#include <cstdlib>

namespace host {
namespace {

RequestNote& Note()
{
    static RequestNote note;
    return note;
}

}  // namespace

void NoteRequest(const RequestNote& note)
{
    Note() = note;
}

const RequestNote& NotedRequest()
{
    return Note();
}

std::string ConsoleUser()
{
    const char* const before = std::getenv("SUDO_USER");
    return before != nullptr && *before != '\0' ? before : "root";
}

}  // namespace host
