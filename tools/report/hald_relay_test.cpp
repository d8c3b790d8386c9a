// hald_relay_test: greets the relay host and logs in, and sends nothing. Reads from standard input
// where and how, as JSON, and writes what became of it, in words of its own alone. It speaks with
// strangers: it is run as a user without rights.
#include <json/json.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <cstdlib>
#include <exception>
#include <iostream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "tools/report/smtp_client.h"

namespace {

/// Keeps the password from cores, and from others of the same user.
bool HideMemory()
{
    const struct rlimit none = {0, 0};
    return prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && setrlimit(RLIMIT_CORE, &none) == 0;
}

report::Delivery FromJson(const Json::Value& json)
{
    report::Delivery delivery;
    delivery.account.server = json["server"].asString();
    delivery.account.port = json["port"].asInt();
    delivery.account.secure = json["secure"].asBool();
    delivery.account.auth = json["auth"].asBool();
    delivery.account.account = json["account"].asString();
    delivery.account.password = json["password"].asString();
    delivery.proves = json["proves"].asBool();
    delivery.seconds = json["seconds"].asInt();
    delivery.envelope.greeting = json["greeting"].asString();
    return delivery;
}

const char* WordOf(report::Step step)
{
    switch (step) {
        case report::Step::kName:
            return "name";
        case report::Step::kConnection:
            return "connection";
        case report::Step::kEncryption:
            return "encryption";
        case report::Step::kLogin:
            return "login";
        case report::Step::kAnswer:
            return "answer";
        default:
            return "";
    }
}

}  // namespace

int main()
{
    if (!HideMemory()) return EXIT_FAILURE;
    try {
        Json::Value json;
        std::cin >> json;
        const Json::Value& told = json;
        report::Delivery delivery = FromJson(told);
        if (!host::ReadFile(host::Path(host::kAuthorities), delivery.trusted)) {
            delivery.trusted.clear();
        }
        const report::Greeting greeting = report::Greet(delivery);
        const bool isDone = greeting.step == report::Step::kDone;
        Json::Value answer;
        answer["own"] = greeting.isOwn;
        answer["step"] = WordOf(greeting.step);
        answer["code"] = isDone ? "" : host::WordOf(greeting.code);
        answer["status"] = Json::Int64{greeting.status};
        std::cout << answer;
        return EXIT_SUCCESS;
    } catch (const std::exception&) {
        return EXIT_FAILURE;
    }
}
