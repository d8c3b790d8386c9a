// How far a change is: /run/mailvane/progress, which is replaced at each step and removed at the
// end.
#include "host/libmailvane/save/progress.h"

#include <json/json.h>
#include <unistd.h>

#include <ctime>
#include <memory>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/paths.h"

namespace host::save {

namespace {

bool isTold = false;  // by this process

std::string ProgressPath()
{
    return Path("/run/mailvane/progress");
}

/// A JSON object; null when the text is none.
Json::Value Parsed(const std::string& text)
{
    Json::Value value;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    const bool parsed = reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
    return parsed && value.isObject() ? value : Json::Value();
}

}  // namespace

Progress::Progress() : tells_(!isTold)
{
    isTold = true;
}

Progress::~Progress()
{
    if (!tells_) return;
    isTold = false;
    if (number_ > 0) (void)unlink(ProgressPath().c_str());
}

void Progress::Begin(const std::string& name)
{
    ++number_;
    if (!tells_) return;
    Json::Value step;
    step["step"] = number_;
    step["of"] = of_;
    step["name"] = name;
    step["since"] = static_cast<Json::Int64>(std::time(nullptr));
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    (void)ReplaceFile(ProgressPath(), Json::writeString(writer, step) + "\n", 0644);
}

std::optional<ProgressStep> ReadProgress()
{
    std::string text;
    if (!ReadFile(ProgressPath(), text) || !LockIsTaken()) return std::nullopt;

    const Json::Value step = Parsed(text);
    const bool whole = step["step"].isInt() && step["of"].isInt() && step["name"].isString() &&
                       step["since"].isInt64();
    if (!whole) return std::nullopt;
    return ProgressStep{step["step"].asInt(), step["of"].asInt(), step["name"].asString(),
                        step["since"].asInt64()};
}

}  // namespace host::save
