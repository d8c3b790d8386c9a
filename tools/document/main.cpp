// hald_document: the stored state as one document in YAML.
//
//   hald_document export [--with-secrets] [--with-personal]    writes it to standard output
//   hald_document schema FILE            writes the schema of documents
//   hald_document show NUMBER            writes a generation that is kept to standard output
//   hald_document between ONE OTHER      says in JSON what lies between two of them: the number of
//                                        a generation, or the path of a document
//   hald_document compare|rehearse|apply [--prune] [--secrets=FILE] [--confirm=SECONDS]
//                 FOLDER FILE...         merges the document in FILE, with further ones laid over
//                                        it, into a copy of the state that is made in FOLDER, an
//                                        empty one in etc/; says in JSON what that changes;
//                                        `rehearse` validates the change, `apply` puts it in force,
//                                        to be taken back unless it is confirmed within so many
//                                        seconds
#include <json/json.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/request_note.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/system/database.h"
#include "tools/document/comparison.h"
#include "tools/document/document.h"
#include "tools/document/overlays.h"
#include "tools/document/staging.h"

namespace {

using host::Result;

constexpr char kSecretsOption[] = "--secrets=";
constexpr char kConfirmOption[] = "--confirm=";

struct Words {
    std::vector<std::string> plain;
    std::set<std::string> options;
    std::string secretsFile;
    std::optional<std::int64_t> confirmSeconds;
};

Words WordsOf(int count, char** arguments)
{
    Words words;
    for (int number = 1; number < count; ++number) {
        const std::string word = arguments[number];
        if (word.rfind(kSecretsOption, 0) == 0) {
            words.secretsFile = word.substr(std::strlen(kSecretsOption));
        } else if (word.rfind(kConfirmOption, 0) == 0) {
            words.confirmSeconds =
                std::strtoll(word.c_str() + std::strlen(kConfirmOption), nullptr, 10);
        } else if (word.rfind("--", 0) == 0) {
            words.options.insert(word);
        } else {
            words.plain.push_back(word);
        }
    }
    return words;
}

Result<void> Export(const Words& words)
{
    const host::save::WriteScope scope(host::save::Unconfirmed::kPasses);
    if (!scope.ready()) return scope.ready();
    const Result<document::State> state = document::StateInForce();
    if (!state) return state.reason();
    const auto parts = document::ReadParts(*state, words.options.count("--with-personal") != 0);
    if (!parts) return parts.reason();
    const bool shows = words.options.count("--with-secrets") != 0;
    const std::string text =
        document::TextOf(*parts, shows ? document::Secrets::kShown : document::Secrets::kNamed);
    if (host::WriteAll(STDOUT_FILENO, text)) return {};
    return host::SystemReason("export", "cannot write the document");
}

Json::Value ToJson(const document::Faults& faults, const std::vector<std::string>& texts)
{
    Json::Value list(Json::arrayValue);
    for (const document::Fault& fault : faults) {
        const document::Place place = document::PlaceOf(texts, fault.line);
        Json::Value json;
        json["file"] = static_cast<Json::UInt>(place.file);
        json["line"] = place.line;
        json["about"] = fault.about;
        json["code"] = host::WordOf(fault.code);
        json["why"] = fault.why;
        list.append(json);
    }
    return list;
}

Json::Value ToJson(const std::vector<document::Difference>& differences)
{
    constexpr const char* kKinds[] = {"added", "removed", "changed", "moved"};
    Json::Value list(Json::arrayValue);
    for (const document::Difference& difference : differences) {
        Json::Value json;
        json["section"] = std::string(difference.section->name);
        json["key"] = difference.key;
        json["kind"] = kKinds[static_cast<std::size_t>(difference.kind)];
        json["before"] = difference.before;
        json["after"] = difference.after;
        list.append(json);
    }
    return list;
}

Json::Value ToJson(const document::Outcome& outcome, const std::vector<std::string>& texts)
{
    Json::Value json;
    json["faults"] = ToJson(outcome.faults, texts);
    json["changes"] = ToJson(outcome.differences);
    json["before"] = outcome.before;
    json["after"] = outcome.after;
    const auto& waiting = outcome.unconfirmed;
    json["until"] = static_cast<Json::Int64>(waiting ? waiting->deadline.end.clock : 0);
    json["steps"] = Json::Value(Json::arrayValue);
    for (const Callback& step : outcome.plan) {
        Json::Value one;
        one["name"] = step.name;
        one["verb"] = step.arg;
        json["steps"].append(one);
    }
    return json;
}

Result<void> Carry(const Words& words, document::Deed deed)
{
    document::Request request;
    request.folder = words.plain[1];
    request.prunes = words.options.count("--prune") != 0;
    request.confirmSeconds = words.confirmSeconds;
    for (std::size_t number = 2; number < words.plain.size(); ++number) {
        const std::string& file = words.plain[number];
        request.texts.emplace_back();
        if (!host::ReadFile(file, request.texts.back())) return host::SystemReason(file, file);
    }
    if (!words.secretsFile.empty() && !host::ReadFile(words.secretsFile, request.secrets)) {
        return host::SystemReason(words.secretsFile, words.secretsFile);
    }
    const bool onlyLooks = deed == document::Deed::kCompared;
    const host::save::WriteScope scope(onlyLooks ? host::save::Unconfirmed::kPasses
                                                 : host::save::Unconfirmed::kRefuses);
    if (!scope.ready()) return scope.ready();
    const auto outcome = document::Carry(request, deed);
    if (!outcome) return outcome.reason();
    const std::string text =
        Json::writeString(Json::StreamWriterBuilder(), ToJson(*outcome, request.texts));
    if (host::WriteAll(STDOUT_FILENO, text)) return {};
    return host::SystemReason("document", "cannot write what changes");
}

Result<void> WriteSchema(const Words& words)
{
    if (host::ReplaceFile(words.plain[1], document::Schema(), 0644)) return {};
    return host::SystemReason(words.plain[1], words.plain[1]);
}

/// The number that a word is.
std::optional<std::uint64_t> NumberIn(const std::string& word)
{
    std::uint64_t number = 0;
    const char* const end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data(), end, number);
    if (error != std::errc() || rest != end) return std::nullopt;
    return number;
}

Result<void> Show(const Words& words)
{
    const auto text = document::TextOfGeneration(NumberIn(words.plain[1]).value_or(0));
    if (!text) return text.reason();
    if (host::WriteAll(STDOUT_FILENO, *text)) return {};
    return host::SystemReason("show", "cannot write the document");
}

/// The parts of a document or a generation; what is wrong with it goes to `json`, with its place
/// among the words.
Result<document::Parts> ReadSide(const Words& words, int place, Json::Value& json)
{
    const std::string& word = words.plain[static_cast<std::size_t>(place) + 1];
    if (const auto number = NumberIn(word)) return document::PartsOfGeneration(*number);
    std::string text;
    if (!host::ReadFile(word, text)) return host::SystemReason(word, word);
    document::Faults faults;
    document::Parts parts = document::PartsOf(text, faults);
    for (Json::Value& fault : ToJson(faults, {text})) {
        fault["file"] = place;
        json["faults"].append(fault);
    }
    return parts;
}

Json::Value ToJson(const std::vector<std::string>& names)
{
    Json::Value list(Json::arrayValue);
    for (const std::string& name : names) list.append(name);
    return list;
}

Result<void> Between(const Words& words)
{
    Json::Value json;
    json["faults"] = Json::Value(Json::arrayValue);
    const Result<document::Parts> before = ReadSide(words, 0, json);
    const Result<document::Parts> after = before ? ReadSide(words, 1, json) : before;
    if (!after) return after.reason();
    const document::Comparison comparison = document::Compare(*before, *after);
    json["changes"] = ToJson(comparison.differences);
    json["before"] = comparison.before;
    json["after"] = comparison.after;
    json["only"].append(ToJson(comparison.onlyBefore));
    json["only"].append(ToJson(comparison.onlyAfter));
    if (host::WriteAll(STDOUT_FILENO, Json::writeString(Json::StreamWriterBuilder(), json))) {
        return {};
    }
    return host::SystemReason("document", "cannot write what differs");
}

Result<void> Run(const Words& words)
{
    const std::string& verb = words.plain[0];
    return host::system::Attempt("document", [&] {
        if (verb == "schema") return WriteSchema(words);
        if (verb == "export") return Export(words);
        if (verb == "show") return Show(words);
        if (verb == "between") return Between(words);
        if (verb == "compare") return Carry(words, document::Deed::kCompared);
        if (verb == "rehearse") return Carry(words, document::Deed::kRehearsed);
        return Carry(words, document::Deed::kPutInForce);
    });
}

bool IsUsage(const Words& words)
{
    const std::size_t count = words.plain.size();
    if (count == 1) return words.plain[0] == "export";
    if (count == 2) return words.plain[0] == "schema" || words.plain[0] == "show";
    if (words.plain[0] == "between") return count == 3;
    const std::set<std::string> verbs = {"compare", "rehearse", "apply"};
    return count >= 3 && verbs.count(words.plain[0]) != 0;
}

}  // namespace

int main(int count, char** arguments)
{
    const Words words = WordsOf(count, arguments);
    if (!IsUsage(words)) {
        (void)std::fprintf(
            stderr,
            "usage: hald_document export [--with-secrets] [--with-personal]\n"
            "       hald_document schema FILE\n"
            "       hald_document show NUMBER\n"
            "       hald_document between ONE OTHER\n"
            "       hald_document compare|rehearse|apply [--prune] [--secrets=FILE]\n"
            "           [--confirm=SECONDS] FOLDER FILE...\n");
        return 2;
    }
    host::NoteRequest({words.plain[0], host::ConsoleUser()});
    return host::Succeeded(Run(words)) ? EXIT_SUCCESS : EXIT_FAILURE;
}
