// What became of a message, by the lines of the mail server's log. What others have said stands in
// brackets behind the status, at the end of the line.
#include "upkeep/mail_test/outcome.h"

#include <string_view>

namespace upkeep {

namespace {

/// The part of a line behind what the mail server begins it with: "DATE HOST PROGRAM[N]: ID: ".
std::string_view Said(std::string_view line)
{
    const std::size_t program = line.find("]: ");
    const std::size_t id =
        line.find(": ", program == std::string_view::npos ? program : program + 3);
    return id == std::string_view::npos ? std::string_view() : line.substr(id + 2);
}

/// What a status says in brackets.
std::string Bracketed(std::string_view text)
{
    const std::size_t begin = text.find('(');
    const std::size_t end = text.rfind(')');
    if (begin == std::string_view::npos || end == std::string_view::npos || end < begin) return "";
    return std::string(text.substr(begin + 1, end - begin - 1));
}

}  // namespace

Outcome OutcomeOf(const Json::Value& lines)
{
    Outcome outcome;
    bool isRemoved = false;
    for (const Json::Value& one : lines) {
        const std::string line = one.asString();
        const std::string_view said = Said(line);
        if (said == "removed") isRemoved = true;
        if (said.rfind("to=<", 0) != 0) continue;

        constexpr std::string_view kStatus = " status=";
        const std::size_t at = said.find(kStatus);
        if (at == std::string_view::npos) continue;
        const std::string_view status = said.substr(at + kStatus.size());
        if (status.rfind("sent ", 0) == 0) continue;
        outcome.reason = Bracketed(status);
        const bool waits = status.rfind("deferred ", 0) == 0;
        outcome.state = waits ? Outcome::State::kWaits : Outcome::State::kRefused;
        if (!waits) return outcome;
    }
    if (outcome.state == Outcome::State::kUnderWay && isRemoved) {
        outcome.state = Outcome::State::kDelivered;
    }
    return outcome;
}

}  // namespace upkeep
