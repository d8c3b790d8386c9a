// The mark of a change that is under way: etc/generated/pending, with lines `before="gen-NNNNNN"`
// and `change="WORDS"`.
#include "host/libmailvane/generation/pending_save.h"

#include "host/libhaldcore/key_value_file.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/system/durable_move.h"

namespace host::generation {

namespace {

const char kBefore[] = "before";
const char kChange[] = "change";

std::string MarkPath()
{
    return GeneratedDirectory() + "/pending";
}

}  // namespace

std::optional<PendingSave> ReadPendingSave()
{
    const auto mark = KeyValueFile::Read(MarkPath());
    if (!mark) return std::nullopt;

    return PendingSave{mark->Get(kBefore).value_or(""), mark->Get(kChange).value_or("")};
}

bool SwitchIsMarked()
{
    const auto mark = ReadPendingSave();
    return mark && mark->change == kAccountSwitch;
}

Result<void> MarkPendingSave(const PendingSave& save)
{
    KeyValueFile mark = KeyValueFile::Parse("");
    if (mark.Set(kBefore, save.before) && mark.Set(kChange, save.change) &&
        mark.Write(MarkPath(), 0600)) {
        return {};
    }
    return SystemReason(MarkPath(), "cannot mark the change");
}

Result<void> ClearPendingSave()
{
    return system::RemoveDurably(MarkPath());
}

}  // namespace host::generation
