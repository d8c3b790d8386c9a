// What the services must know of the request that they serve, beyond the settings that it names.
#include "host/libhaldcore/request_note.h"

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

}  // namespace host
