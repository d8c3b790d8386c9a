// Sending by a separate process, with a user of its own.
#include "tools/report/sender.h"

#include <json/json.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <iterator>

#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/system/user_command.h"

using host::Reason;
using host::ReasonCode;
using host::Result;

namespace report {

namespace {

const char kUser[] = "mailvane-report";
constexpr std::chrono::seconds kMargin{2};  // for the start of the process, and its end

/// The exit statuses that stand for a reason; another one is that of a process that broke off.
struct Ending {
    int status;
    ReasonCode code;
};
constexpr Ending kEndings[] = {{1, ReasonCode::kDaemonRefuses},
                               {3, ReasonCode::kDaemonIsDown},
                               {4, ReasonCode::kOutOfTime},
                               {5, ReasonCode::kSystem}};

std::string ToJson(const Delivery& delivery)
{
    Json::Value json;
    Json::Value& account = json["account"];
    account["server"] = delivery.account.server;
    account["port"] = delivery.account.port;
    account["auth"] = delivery.account.auth;
    account["account"] = delivery.account.account;
    account["password"] = delivery.account.password;
    account["secure"] = delivery.account.secure;
    json["greeting"] = delivery.envelope.greeting;
    json["from"] = delivery.envelope.from;
    for (const std::string& recipient : delivery.envelope.to) json["to"].append(recipient);
    json["message"] = delivery.message;
    json["trusted"] = delivery.trusted;
    json["seconds"] = delivery.seconds;
    return Json::writeString(Json::StreamWriterBuilder(), json);
}

Delivery FromJson(const Json::Value& json)
{
    Delivery delivery;
    const Json::Value& account = json["account"];
    delivery.account.server = account["server"].asString();
    delivery.account.port = account["port"].asInt();
    delivery.account.auth = account["auth"].asBool();
    delivery.account.account = account["account"].asString();
    delivery.account.password = account["password"].asString();
    delivery.account.secure = account["secure"].asBool();
    delivery.envelope.greeting = json["greeting"].asString();
    delivery.envelope.from = json["from"].asString();
    for (const Json::Value& recipient : json["to"]) {
        delivery.envelope.to.push_back(recipient.asString());
    }
    delivery.message = json["message"].asString();
    delivery.trusted = json["trusted"].asString();
    delivery.seconds = json["seconds"].asInt();
    return delivery;
}

}  // namespace

Result<void> SendAsItsUser(const Delivery& delivery)
{
    if (geteuid() != 0) return Send(delivery);

    host::ProgramOptions options;
    options.limit = std::chrono::seconds(delivery.seconds) + kMargin;
    options.capture = true;
    options.input = ToJson(delivery);
    const host::ProgramResult result = host::RunProgram(
        host::system::AsUser(kUser, {host::PackagePath("target/bin/hald_report"), "--send"}),
        options);
    if (result.Succeeded()) return {};
    for (const Ending& ending : kEndings) {
        if (result.status == ending.status && !result.output.empty()) {
            return Reason{ending.code, delivery.account.server, result.output};
        }
    }
    return Reason{ReasonCode::kSystem, kUser,
                  "its sender, run as " + std::string(kUser) + ", failed " + result.errors,
                  result.Causes()};
}

int SendFromInput()
{
    Json::Value json;
    std::cin >> json;
    const Json::Value& told = json;
    const Result<void> sent = Send(FromJson(told));
    if (sent) return 0;

    (void)fputs(sent.reason().text.c_str(), stdout);
    const auto* const ending =
        std::find_if(std::begin(kEndings), std::end(kEndings),
                     [&sent](const Ending& one) { return one.code == sent.reason().code; });
    return ending != std::end(kEndings) ? ending->status : kEndings[0].status;
}

}  // namespace report
