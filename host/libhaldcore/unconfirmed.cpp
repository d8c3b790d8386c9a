// A change that is taken back unless it is confirmed: the note of it, etc/unconfirmed/note, and the
// link etc/generated/current, which says whether it holds.
#include "host/libhaldcore/unconfirmed.h"

#include <charconv>
#include <ctime>
#include <filesystem>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"

namespace host {

namespace {

namespace fs = std::filesystem;

constexpr char kGeneration[] = "generation";
constexpr char kBefore[] = "before";
constexpr char kUndoneBy[] = "undone_by";
constexpr char kCaller[] = "caller";
constexpr char kAdded[] = "added";
constexpr char kSeconds[] = "seconds";
constexpr char kUntil[] = "until";
constexpr char kBoot[] = "boot";
constexpr char kUp[] = "up";

std::string TextOf(const KeyValueFile& note, const char* key)
{
    return note.Get(key).value_or("");
}

std::int64_t NumberOf(const KeyValueFile& note, const char* key)
{
    const std::string text = TextOf(note, key);
    std::int64_t number = 0;
    (void)std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::string LocalTime(std::int64_t seconds)
{
    const auto moment = static_cast<std::time_t>(seconds);
    std::tm parts{};
    char text[64] = "";
    if (localtime_r(&moment, &parts) != nullptr) {
        (void)std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &parts);
    }
    return text;
}

}  // namespace

std::string UnconfirmedFolder()
{
    return PackagePath("etc/unconfirmed");
}

std::string UnconfirmedNotePath()
{
    return UnconfirmedFolder() + "/note";
}

std::optional<UnconfirmedChange> ReadUnconfirmedNote()
{
    const auto note = KeyValueFile::Read(UnconfirmedNotePath());
    if (!note) return std::nullopt;

    UnconfirmedChange change;
    change.generation = TextOf(*note, kGeneration);
    change.before = TextOf(*note, kBefore);
    change.undoneBy = TextOf(*note, kUndoneBy);
    change.caller = TextOf(*note, kCaller);
    change.added = TextOf(*note, kAdded);
    change.deadline = {NumberOf(*note, kSeconds),
                       {NumberOf(*note, kUntil), TextOf(*note, kBoot), NumberOf(*note, kUp)}};
    return change;
}

Result<void> WriteUnconfirmedNote(const UnconfirmedChange& change)
{
    const Deadline& deadline = change.deadline;
    const std::pair<const char*, std::string> values[] = {
        {kGeneration, change.generation},
        {kBefore, change.before},
        {kUndoneBy, change.undoneBy},
        {kCaller, change.caller},
        {kAdded, change.added},
        {kSeconds, std::to_string(deadline.seconds)},
        {kUntil, std::to_string(deadline.end.clock)},
        {kBoot, deadline.end.boot},
        {kUp, std::to_string(deadline.end.up)},
    };
    KeyValueFile note = KeyValueFile::Parse("");
    bool isGood = true;
    for (const auto& [key, value] : values) isGood = isGood && note.Set(key, value);
    if (isGood && note.Write(UnconfirmedNotePath(), 0600)) return {};
    return SystemReason(UnconfirmedNotePath(), "cannot note that a change is not confirmed");
}

std::optional<UnconfirmedChange> FindUnconfirmedChange()
{
    std::optional<UnconfirmedChange> change = ReadUnconfirmedNote();
    if (!change) return std::nullopt;

    std::error_code error;
    const fs::path inForce = fs::read_symlink(PackagePath("etc/generated/current"), error);
    if (change->generation.empty() || inForce.filename() != change->generation) return std::nullopt;
    return change;
}

Result<void> NothingIsUnconfirmed()
{
    const auto change = FindUnconfirmedChange();
    if (!change) return {};
    return Reason{ReasonCode::kBusy, Subject(),
                  change->generation + ", a change by " + change->caller +
                      ", waits to be confirmed until " + LocalTime(change->deadline.end.clock)};
}

}  // namespace host
