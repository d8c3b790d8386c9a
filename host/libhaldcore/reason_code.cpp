// The words of the codes of reasons.
#include "host/libhaldcore/reason_code.h"

#include <cstddef>
#include <iterator>

namespace host {
namespace {

struct Row {
    ReasonCode code;
    const char* word;
};

// In the order of the codes. The words are part of the interface.
constexpr Row kWords[] = {
    {ReasonCode::kOutOfRange, "out_of_range"},
    {ReasonCode::kTooLong, "too_long"},
    {ReasonCode::kTooShort, "too_short"},
    {ReasonCode::kEmpty, "empty"},
    {ReasonCode::kNotText, "not_text"},
    {ReasonCode::kNoChoice, "no_choice"},
    {ReasonCode::kBadFormat, "bad_format"},
    {ReasonCode::kBlanks, "blanks"},
    {ReasonCode::kNoAddress, "no_address"},
    {ReasonCode::kNoName, "no_name"},
    {ReasonCode::kWrongKind, "wrong_kind"},
    {ReasonCode::kTypeAgain, "type_again"},
    {ReasonCode::kLoops, "loops"},
    {ReasonCode::kTooMany, "too_many"},
    {ReasonCode::kGivenTwice, "given_twice"},
    {ReasonCode::kTaken, "taken"},
    {ReasonCode::kMissing, "missing"},
    {ReasonCode::kNoMatch, "no_match"},
    {ReasonCode::kEncrypted, "encrypted"},
    {ReasonCode::kExpired, "expired"},
    {ReasonCode::kNotYet, "not_yet"},
    {ReasonCode::kRefused, "refused"},
    {ReasonCode::kNoEntry, "no_entry"},
    {ReasonCode::kNoRule, "no_rule"},
    {ReasonCode::kUnsafe, "unsafe"},
    {ReasonCode::kPortInUse, "in_use"},
    {ReasonCode::kHoldsPort, "holds_port"},
    {ReasonCode::kDaemonRefuses, "rejected"},
    {ReasonCode::kDaemonIsDown, "down"},
    {ReasonCode::kOutOfTime, "timeout"},
    {ReasonCode::kBusy, "busy"},
    {ReasonCode::kNotSetUp, "not_set_up"},
    {ReasonCode::kNoHomes, "no_homes"},
    {ReasonCode::kOff, "off"},
    {ReasonCode::kDamaged, "damaged"},
    {ReasonCode::kUnreadable, "unreadable"},
    {ReasonCode::kNoSpace, "no_space"},
    {ReasonCode::kSystem, "system"},
};

constexpr bool IsInOrder()
{
    std::size_t next = 0;
    for (const Row& row : kWords) {
        if (static_cast<std::size_t>(row.code) != next++) return false;
    }
    return static_cast<std::size_t>(ReasonCode::kSystem) + 1 == std::size(kWords);
}
static_assert(IsInOrder());

}  // namespace

const char* WordOf(ReasonCode code)
{
    return kWords[static_cast<std::size_t>(code)].word;
}

}  // namespace host
