// The stored relay host, tried. It may be anybody: hald_relay_test speaks with it, as nobody.
#include <json/json.h>

#include <algorithm>
#include <memory>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/run_program.h"
#include "host/libhaldcore/text.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/system/user_command.h"
#include "upkeep/mail_test/calls.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;
using host::settings::StoredSettings;

constexpr int kSeconds = 15;
constexpr std::chrono::seconds kLimit{18};
constexpr char kServer[] = "smtp_relay_server";

/// The settings, when mail goes to a relay host.
Result<StoredSettings> SettingsWithRelay()
{
    Result<StoredSettings> settings = StoredSettings::Read();
    if (!settings) return settings;
    if (!settings->Bool("smtp_relay_enabled")) {
        return Reason{ReasonCode::kOff, Subject::Setting("smtp_relay_enabled"), "no relay host"};
    }
    if (settings->Text(kServer).empty()) {
        return Reason{ReasonCode::kEmpty, Subject::Setting(kServer), "no relay host is named"};
    }
    return settings;
}

/// The conversation as the mail server has it.
std::string Conversation(const StoredSettings& settings)
{
    const bool logsIn = settings.Bool("smtp_relay_auth");
    Json::Value json;
    json["server"] = settings.Text(kServer);
    json["port"] = settings.Int("smtp_relay_port");
    json["secure"] = settings.Bool("smtp_relay_tls");
    json["proves"] = logsIn && settings.RelayIsVerified();
    json["auth"] = logsIn;
    json["account"] = settings.Text("smtp_relay_account");
    json["password"] = settings.Text("smtp_relay_password");
    json["greeting"] = settings.Text("smtp_hostname");
    json["seconds"] = kSeconds;
    return Json::writeString(Json::StreamWriterBuilder(), json);
}

bool IsWord(const Json::Value& value)
{
    const std::string text = value.isString() ? value.asString() : "?";
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return host::IsLetterOrDigit(c) || c == '_'; });
}

/// What the process says, which a stranger may have taken over; null when it is nothing.
Json::Value Parsed(const std::string& text)
{
    Json::Value said;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    const bool isGood = reader->parse(text.data(), text.data() + text.size(), &said, nullptr) &&
                        said.isObject() && said["own"].isBool() && said["status"].isInt() &&
                        IsWord(said["step"]) && IsWord(said["code"]);
    return isGood ? said : Json::Value();
}

}  // namespace

Answer RelayTest(const Request& /*request*/)
{
    const Result<StoredSettings> settings = SettingsWithRelay();
    if (!settings) return settings.reason();

    host::ProgramOptions options;
    options.limit = kLimit;
    options.capture = true;
    options.input = Conversation(*settings);
    const host::ProgramResult result = host::RunProgram(
        host::system::AsNobody("nogroup", {host::PackagePath("target/bin/hald_relay_test")}),
        options);
    const Json::Value said = result.Succeeded() ? Parsed(result.output) : Json::Value();
    if (said.isNull()) {
        return Reason{ReasonCode::kSystem, Subject::Setting(kServer),
                      "the relay host cannot be tried", result.Causes()};
    }
    if (said["own"].asBool()) {
        return Reason{ReasonCode::kLoops, Subject::Setting(kServer), "it is this machine"};
    }
    Json::Value answer;
    answer["server"] = settings->Text(kServer);
    answer["port"] = settings->Int("smtp_relay_port");
    answer["works"] = said["step"].asString().empty();
    for (const char* member : {"step", "code", "status"}) answer[member] = said[member];
    return answer;
}

}  // namespace upkeep
