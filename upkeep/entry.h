// The program's work on one request.
#pragma once

namespace upkeep {

/// Answers the request of this process. Returns the process's exit status: 0 when it was answered.
int AnswerRequest();

}  // namespace upkeep
