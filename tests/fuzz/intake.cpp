// Fuzz target: JSON bodies, query strings and headers from a client.
#include <cstring>

#include "host/libkos/body_head.h"
#include "host/libkos/cross_site.h"
#include "host/libkos/form_parser.h"
#include "host/libkos/json_body.h"
#include "host/libkos/languages.h"
#include "tests/fuzz/fuzz.h"

namespace {

/// No text of an accepted body may end early where the program reads it.
void ExpectNoNul(const Json::Value& value)
{
    if (value.isString()) fuzz::Expect(value.asString() == value.asCString());
    for (auto member = value.begin(); member != value.end(); ++member) {
        if (value.isObject()) fuzz::Expect(member.name().find('\0') == std::string::npos);
        ExpectNoNul(*member);
    }
}

void TryJson(const std::string& text)
{
    const char* reason = nullptr;
    const std::unique_ptr<Json::Value> body = kos::ParseJsonBody(text, reason);
    fuzz::Expect((body == nullptr) == (reason != nullptr));
    if (body == nullptr) return;
    fuzz::Expect(body->isObject());
    ExpectNoNul(*body);
}

void TryForm(const std::string& text)
{
    kos::Parameters parameters;
    if (!kos::ParseForm(text, parameters)) return;
    const std::string* const action = parameters.Find("action");
    if (action != nullptr) fuzz::Expect(strlen(action->c_str()) == action->size());
}

void TryHeaders(const std::string& text)
{
    const kos::BodyHead head = kos::DescribeBody({"POST", text, text, false});
    fuzz::Expect(head.boundary.size() <= 70);

    const kos::SiteHeaders evil{"mail.lan", std::nullopt, "https://evil/" + text, text, true};
    fuzz::Expect(kos::JudgeSite(evil, true) == kos::SiteVerdict::kForeign);

    const std::string language = kos::ChooseLanguage(&text, text, text);
    fuzz::Expect(language.size() >= 2 && language.size() <= 8);
    for (const char letter : language) fuzz::Expect(letter >= 'a' && letter <= 'z');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(fuzz::Text(data, size));
    TryJson(text);
    TryForm(text);
    TryHeaders(text);
    return 0;
}
