// What a call is to be done to: some of the things that there are, by their ids, or all of them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "upkeep/request/request.h"

namespace upkeep {

struct Chosen {
    std::vector<std::string> ids;  ///< sorted, each once
    bool all = false;
};

/// The list `ids` of a request, at most 1,000 that `isId` accepts.
host::Result<Chosen> ChosenOnes(const Request& request, bool (*isId)(std::string_view));

/// The same, or all with `all` and, so that nobody does it by mistake, `confirm`.
host::Result<Chosen> ChosenOnesOrAll(const Request& request, bool (*isId)(std::string_view));

/// Notes for the audit line what is chosen: the first of the ids, or "all".
void NoteChosen(const Chosen& chosen);

/// The members of an answer: to how many it was done, and which are not there any more.
Json::Value DoneAndGone(std::size_t done, const std::vector<std::string>& gone);

}  // namespace upkeep
