// What mail says. Runs target/bin/hald_mail_text as the scanner's user.
#include "upkeep/mail_text/reader.h"

#include <fcntl.h>
#include <json/reader.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libhaldcore/start_program.h"
#include "host/libhaldcore/text.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;

constexpr std::chrono::seconds kPatience{2};
constexpr std::chrono::seconds kSearchPatience{3};

std::vector<std::string> Reader(const std::vector<std::string>& words)
{
    std::vector<std::string> program = {host::PackagePath("target/bin/hald_mail_text")};
    program.insert(program.end(), words.begin(), words.end());
    return AsScanner(program);
}

host::ProgramResult RunReader(const std::vector<std::string>& words, host::ProgramOptions options)
{
    options.capture = true;
    return host::RunProgram(Reader(words), options);
}

host::ProgramOptions FromFile(const host::Descriptor& file)
{
    host::ProgramOptions options;
    options.limit = kPatience;
    options.file = file.get();
    return options;
}

/// An answer of the reader; null when it is none.
Json::Value Parsed(const std::string& text)
{
    Json::Value value;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    const bool parsed = reader->parse(text.data(), text.data() + text.size(), &value, nullptr);
    return parsed && value.isObject() ? value : Json::Value();
}

/// Takes over members of the types that they are to have, and with their usual values what is
/// missing.
Json::Value Taken(const Json::Value& from, const Json::Value& usual)
{
    Json::Value taken = usual;
    if (!from.isObject()) return taken;
    for (const std::string& name : usual.getMemberNames()) {
        const Json::Value& member = from[name];
        const bool isNumber = usual[name].isUInt64() && member.isUInt64();
        if (isNumber || member.type() == usual[name].type()) taken[name] = member;
    }
    return taken;
}

/// The elements of a list, each with the members of `usual`.
Json::Value ListOf(const Json::Value& list, const Json::Value& usual)
{
    Json::Value taken(Json::arrayValue);
    if (!list.isArray()) return taken;
    for (const Json::Value& one : list) taken.append(Taken(one, usual));
    return taken;
}

/// Only the texts of a list.
Json::Value TextsOf(const Json::Value& list)
{
    Json::Value taken(Json::arrayValue);
    if (!list.isArray()) return taken;
    for (const Json::Value& one : list) {
        if (one.isString()) taken.append(one);
    }
    return taken;
}

Json::Value HeadOf(const Json::Value& from)
{
    Json::Value usual;
    for (const char* name : {"id", "sender", "subject", "score"}) usual[name] = "";
    usual["recipients"] = Json::Value(Json::arrayValue);
    usual["recipient_count"] = 0U;
    Json::Value head = Taken(from, usual);
    head["recipients"] = TextsOf(head["recipients"]);
    return head;
}

Result<Json::Value> TextFrom(host::ProgramOptions options)
{
    const host::ProgramResult result = RunReader({"text"}, std::move(options));
    const Json::Value answer = Parsed(result.output);
    if (!result.done || !answer["text"].isString()) {
        const bool isLate = !result.done && result.done.reason().code == ReasonCode::kOutOfTime;
        return Reason{isLate ? ReasonCode::kOutOfTime : ReasonCode::kUnreadable,
                      Subject::Setting("id"), "the message cannot be shown"};
    }

    Json::Value field;
    field["name"] = field["value"] = "";
    Json::Value part;
    part["type"] = part["name"] = "";
    part["size"] = 0U;
    Json::Value text;
    text["text"] = "";
    text["part_count"] = 0U;
    text["cut"] = false;
    text = Taken(answer, text);
    text["headers"] = ListOf(answer["headers"], field);
    text["parts"] = ListOf(answer["parts"], part);
    return text;
}

}  // namespace

std::vector<std::string> AsScanner(const std::vector<std::string>& program)
{
    std::vector<std::string> words = {host::programs::kSetpriv,
                                      "--reuid=amavis",
                                      "--regid=amavis",
                                      "--init-groups",
                                      "--no-new-privs",
                                      "--reset-env",
                                      "--"};
    words.insert(words.end(), program.begin(), program.end());
    return words;
}

Result<Heads> ReadHeads(const std::string& folder, const std::vector<std::string>& names,
                        const std::string& wanted, std::size_t start, std::size_t count)
{
    host::ProgramOptions options;
    options.limit = kSearchPatience;
    options.input = host::InLowerCase(wanted) + "\n";
    for (const std::string& name : names) options.input += name + "\n";
    const host::ProgramResult result =
        RunReader({"heads", folder, std::to_string(start), std::to_string(count)}, options);
    if (!result.done && result.status < 0) {
        return Reason{ReasonCode::kTooMany, Subject::Setting("query"),
                      "more mail is kept than can be looked through"};
    }
    if (!result.done) return result.done.reason();

    const Json::Value answer = Parsed(result.output);
    if (!answer["heads"].isArray() || !answer["found"].isUInt64()) {
        return Reason{ReasonCode::kSystem, "", "the heads of kept mail cannot be read"};
    }
    Heads heads;
    heads.found = answer["found"].asUInt64();
    for (const Json::Value& head : answer["heads"]) heads.page.push_back(HeadOf(head));
    return heads;
}

Result<Json::Value> ReadText(const host::Descriptor& file)
{
    return TextFrom(FromFile(file));
}

Result<Json::Value> ReadText(const std::string& message)
{
    host::ProgramOptions options;
    options.limit = kPatience;
    options.input = message;
    return TextFrom(std::move(options));
}
void WriteRaw(const host::Descriptor& file)
{
    const host::Descriptor nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
    const auto started =
        host::StartProgram(Reader({"raw"}), {file.get(), STDOUT_FILENO, nothing.get()});
    if (host::Succeeded(started)) (void)waitpid(started->pid, nullptr, 0);
}

Result<std::string> ReadRaw(const host::Descriptor& file, std::size_t most)
{
    host::ProgramResult result = RunReader({"raw"}, FromFile(file));
    if (result.output.size() > most) {
        return Reason{ReasonCode::kTooLong, Subject::Setting("ids"), "the message is too long"};
    }
    if (!result.done) {
        return Reason{ReasonCode::kDamaged, Subject::Setting("ids"), "the message is damaged"};
    }
    return std::move(result.output);
}

}  // namespace upkeep
