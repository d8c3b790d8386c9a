// Fuzz target: every action on the recording platform, whatever the members of its body or its
// parameters hold.
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <utility>

#include "frame/entry.h"
#include "frame/mailvane_handler.h"
#include "host/libhaldcore/hash.h"
#include "tests/fuzz/fuzz.h"
#include "tests/recording/json_text.h"
#include "tests/recording/world.h"

namespace {

using recording::World;

const char kHeader[] = "[header ";

/// A machine that knows somebody and has something in every list.
void Furnish(World& world)
{
    world.users = {{"alice", 1, "Alice", false, {}}, {"bob", 2, "Bob", true, "CORP\\bob"}};
    world.groups = {{"staff", 1, {"alice", "bob"}}};
    world.aliases = {{"sales", {{"alice", 0}, {"staff", 1}, {"eve@example.org", 3}}}};
    world.access = {{"bad@example.org", ACCESS_REJECT, TYPE_SENDER, NAME_ADDRESS}};
    world.bcc = {{"bob@example.org", "alice", BCC_SENDER}};
    world.quotas = {{"alice", 10}};
    world.attachmentTypes = {"exe"};
    world.spamRules = {{"mine", true}};
    world.rulePaths = {{"mine", "/dev/null"}};
    world.blackWhite = {{"bad@example.org", 1, 0, 0}};
    world.domains = {"example.org"};
    world.dnsbls = {{"zone.example.org", "rbl_client"}};
    world.logRows.resize(2);
    world.personal["alice"] = {};
    world.personal["admin"].senderReplies["a@example.org"] = {"subject", "text"};
    world.exportText = "one\ntwo\n";
}

/// The object that a body is. The platform takes no others, and none with a NUL in it.
std::optional<Json::Value> BodyOf(const std::string& text)
{
    const bool holdsNul =
        text.find('\0') != std::string::npos || text.find("u0000") != std::string::npos;
    if (holdsNul) return std::nullopt;
    try {
        Json::Value body = recording::ParseJson(text);
        return body.isObject() ? std::optional(std::move(body)) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

/// The action that a body names; any other body is for one or the other.
std::string ActionOf(const Json::Value& body, std::string_view text, bool& writes)
{
    const Json::Value& name = body["action"];
    std::size_t chosen = host::Fnv32(text);
    for (const bool table : {false, true}) {
        for (const std::string& action :
             table ? MailvaneHandler::WriteActions() : MailvaneHandler::ReadActions()) {
            writes = table;
            if (name == action) return action;
        }
    }
    writes = chosen % 2 == 0;
    const auto actions = writes ? MailvaneHandler::WriteActions() : MailvaneHandler::ReadActions();
    return actions[chosen / 2 % actions.size()];
}

void Prepare(World& world, Json::Value body, const std::string& action, bool writes)
{
    world.Reset();
    Furnish(world);
    body["action"] = action;
    if (writes) {
        world.request.body = std::move(body);
        return;
    }
    for (const std::string& name : body.getMemberNames()) {
        const Json::Value& value = body[name];
        world.request.parameters[name] =
            value.isString() ? value.asString() : recording::Compact(value);
    }
}

/// Runs the request; what it writes.
std::string OutputOf(int& status)
{
    char* bytes = nullptr;
    std::size_t size = 0;
    std::FILE* const real = stdout;
    stdout = open_memstream(&bytes, &size);
    status = RunRequest();
    std::fclose(stdout);
    stdout = real;
    std::string output(bytes, size);
    std::free(bytes);
    return output;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(fuzz::Text(data, size));
    const std::optional<Json::Value> body = BodyOf(text);
    if (!body) return 0;

    World& world = recording::TheWorld();
    bool writes = false;
    const std::string action = ActionOf(*body, text, writes);
    Prepare(world, *body, action, writes);
    int status = 0;
    const std::string output = OutputOf(status);

    // One answer, but for a request that has thrown and for a file that is not there to be sent.
    int answers = output.rfind("Content-Type:", 0) == 0 ? 1 : 0;
    for (auto at = output.find(kHeader); at != std::string::npos; at = output.find(kHeader, at + 1))
        answers += at == 0 || output[at - 1] == '\n' ? 1 : 0;
    const bool mayBeNone = status != 0 || action.rfind("export_", 0) == 0;
    fuzz::Expect(answers == 1 || (answers == 0 && mayBeNone));
    fuzz::Expect(world.liveObjects == 0 || status != 0);
    return 0;
}
