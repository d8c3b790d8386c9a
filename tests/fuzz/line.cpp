// Fuzz target: one line of the mail server's log, and what is stored of its texts.
#include "host/libhaldcore/utf8.h"
#include "host/libmailvane/maillog/log_clock.h"
#include "tests/fuzz/fuzz.h"
#include "tools/maillog_collector/log_event.h"
#include "tools/maillog_collector/log_fields.h"

namespace {

constexpr std::int64_t kNow = 1798761600;  // 2027-01-01

/// A part of the line refers to the line itself, or is empty.
void ExpectWithin(std::string_view part, std::string_view line)
{
    if (part.empty()) return;
    fuzz::Expect(part.data() >= line.data() &&
                 part.data() + part.size() <= line.data() + line.size());
}

void ExpectShowable(std::string_view part)
{
    const std::string text = collector::CleanText(part);
    fuzz::Expect(text.size() <= collector::kLongestText && host::IsUtf8(text));
    for (const char c : text) fuzz::Expect(static_cast<unsigned char>(c) >= ' ' && c != '\x7f');
    fuzz::Expect(text.find_first_of("<>") == std::string::npos);
    fuzz::Expect(collector::CleanText(text) == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view whole = fuzz::Text(data, size);
    ExpectShowable(whole);
    const auto line = collector::ParseLine(whole);
    if (!line) return 0;

    (void)host::maillog::LogClock(kNow).Seconds(line->stamp);
    const auto event = collector::ParseEvent(*line);
    if (!event) return 0;
    for (const std::string_view id : {event->id, event->other}) {
        fuzz::Expect(id.empty() || collector::IsQueueId(id));
    }
    for (const std::string_view part :
         {event->id, event->other, event->messageId, event->from, event->to}) {
        ExpectWithin(part, whole);
    }
    fuzz::Expect(event->size >= 0);
    return 0;
}
