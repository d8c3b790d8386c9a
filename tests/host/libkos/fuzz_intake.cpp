// Fuzz target: JSON bodies, query strings and headers from a client.
#include <cstring>

#include "host/libkos/body_head.h"
#include "host/libkos/cross_site.h"
#include "host/libkos/form_parser.h"
#include "host/libkos/json_body.h"
#include "host/libkos/languages.h"
#include "tests/host/fuzz_driver.h"

namespace {

/// No text of an accepted body may end early where the program reads it.
void ExpectNoNul(const Json::Value& value)
{
    if (value.isString()) FuzzExpect(value.asString() == value.asCString());
    for (auto member = value.begin(); member != value.end(); ++member) {
        if (value.isObject()) FuzzExpect(member.name().find('\0') == std::string::npos);
        ExpectNoNul(*member);
    }
}

void TryJson(const std::string& text)
{
    const char* reason = nullptr;
    const std::unique_ptr<Json::Value> body = kos::ParseJsonBody(text, reason);
    FuzzExpect((body == nullptr) == (reason != nullptr));
    if (body == nullptr) return;
    FuzzExpect(body->isObject());
    ExpectNoNul(*body);
}

void TryForm(const std::string& text)
{
    kos::Parameters parameters;
    if (!kos::ParseForm(text, parameters)) return;
    const std::string* const action = parameters.Find("action");
    if (action != nullptr) FuzzExpect(strlen(action->c_str()) == action->size());
}

void TryHeaders(const std::string& text)
{
    const kos::BodyHead head = kos::DescribeBody({"POST", text, text, false});
    FuzzExpect(head.boundary.size() <= 70);

    const kos::SiteHeaders evil{"mail.lan", std::nullopt, "https://evil/" + text, text, true};
    FuzzExpect(kos::JudgeSite(evil, true) == kos::SiteVerdict::kForeign);

    const std::string language = kos::ChooseLanguage(&text, text, text);
    FuzzExpect(language.size() >= 2 && language.size() <= 8);
    for (const char letter : language) FuzzExpect(letter >= 'a' && letter <= 'z');
}

}  // namespace

std::vector<std::string> FuzzSeeds()
{
    return {
        R"({"action":"save_smtp","smtp_port":25,"list":[1,-2.5e3,true,null,{"a":"\u00fc\\u0000"}]})",
        R"({"":[[[[[[]]]]]],"x\"y":"\ud83d\ude00\/","n":18446744073709551616})",
        R"(/*c*/'\u0000NaN Infinity 1e999 {},:]")",
        "action=load_smtp&start=0&limit=%35%300&x=+%e4%zz%&&=&a==b",
        "action=%00%0",
        "multipart/form-data; boundary=\"a b\\\"c\"; charset=x;;=",
        "https://user@mail.lan:443/x?y#z, http://[::1]:80",
        "lang=de; lang=../x; de-DE,fr;q=0.5, *;q=0",
    };
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    TryJson(text);
    TryForm(text);
    TryHeaders(text);
    return 0;
}
