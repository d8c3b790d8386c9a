// Facts about the current request that its settings do not tell.
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
