// The reasons of a refusal, as the head of its answer and the audit line tell them.
#pragma once

#include <json/value.h>

#include <string>
#include <vector>

#include "host/libhaldcore/noted_reasons.h"
#include "host/libkos/refusal.h"

namespace kos {

/// The names of a refusal's reasons with their codes, from tables of the program alone.
using Reasons = std::vector<host::NotedReason>;

/// Why the answer of an action is a refusal: what its message itself says, what was noted, or that
/// nothing is known. None for an answer that is no refusal.
Reasons ReasonsOf(const Json::Value& answer, const std::string& action);

/// The header line that tells reasons, with its end: a list in ASCII JSON, at most 2 KiB, of as
/// many as there is room for. Empty without any.
std::string ReasonHeader(const Reasons& reasons);

/// The header line of a request that was refused before its action.
std::string ReasonHeader(const Refusal& refusal);

/// The same for the log: "smtp_port out_of_range, line 3 no_entry".
std::string InWords(const Reasons& reasons);

}  // namespace kos
