// The head of an answer that says why a request was refused.
#include <json/reader.h>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/noted_reasons.h"
#include "platform/web/web_man.h"
#include "tests/host/libkos/request.h"

namespace {

using host::Reason;
using host::ReasonCode;
using host::Subject;

constexpr char kHead[] =
    "Content-Type: application/json; charset=\"UTF-8\"\nCache-Control: no-store\n"
    "X-Content-Type-Options: nosniff\n";
constexpr char kHeader[] = "X-Mailvane-Reason: ";
constexpr std::size_t kLongest = 2048;

class Reasons : public RequestTest {
protected:
    /// The whole output when an action notes reasons and answers `answer`.
    std::string Output(const std::string& action, const std::string& answer,
                       const std::function<void()>& fail) const
    {
        const std::string body = R"({"action":")" + action + R"("})";
        return Run(Sends("application/json", body), body,
                   [&] {
                       WebMan web;
                       if (!web.IsAuthorized(nullptr, 3, 1) || !web.LoadIn()) return 1;
                       fail();
                       Json::Value value;
                       (void)Json::Reader().parse(answer, value);
                       web.WriteHeader("");
                       web.WriteBody(value);
                       return 0;
                   })
            .output;
    }

    /// The value of the header in an output, which has it once.
    static std::string HeaderIn(const std::string& output)
    {
        const auto start = output.find(kHeader);
        const auto end = output.find('\n', start);
        EXPECT_NE(start, std::string::npos) << output;
        EXPECT_LT(end, output.find("\n\n") + 1) << "it is a line of the head";
        EXPECT_EQ(output.find(kHeader, end), std::string::npos);
        const auto value = start + sizeof kHeader - 1;
        return output.substr(value, end - value);
    }
};

const char kFailed[] = R"({"errinfo":{"key":"error_system","sec":"common"},"success":false})";

TEST_F(Reasons, StandInTheHeadOfARefusal)
{
    const auto message = [](const char* section, const char* key) {
        return std::string(R"({"errinfo":{"key":")") + key + R"(","sec":")" + section +
               R"("},"success":false})";
    };
    const Reason port{ReasonCode::kPortInUse,
                      Subject::Setting("smtp_port"),
                      "port 25 is in use",
                      {{ReasonCode::kHoldsPort, Subject::Service("other"), ""}}};
    const Reason lines{ReasonCode::kRefused,
                       "list to import",
                       "",
                       {{ReasonCode::kNoEntry, Subject::Line(3), "one"},
                        {ReasonCode::kNotText, Subject::Line(12), "two"}}};
    const struct {
        std::string action, answer;
        std::vector<Reason> reasons;
        std::string header;
    } rows[] = {
        {"save_smtp",
         kFailed,
         {port, port},
         R"([{"setting":"smtp_port","code":"in_use"},{"service":"other","code":"holds_port"}])"},
        {"x", kFailed, {lines}, R"([{"line":3,"code":"no_entry"},{"line":12,"code":"not_text"}])"},
        {"x",
         R"({"success":false})",
         {{ReasonCode::kSystem, "/a/file", "failed"},
          {ReasonCode::kNoSpace, Subject::List("access"), ""}},
         R"([{"list":"access","code":"no_space"}])"},
        {"x",
         kFailed,
         {{ReasonCode::kNoSpace, "/a/file", "a file"}},
         R"([{"service":"mailvane","code":"no_space"}])"},
        {"x", kFailed, {}, R"([{"service":"mailvane","code":"system"}])"},
        {"apply",
         R"({"errinfo":{},"success":true})",
         {},
         R"([{"service":"mailvane","code":"system"}])"},
        {"edit_domain",
         kFailed,
         {{ReasonCode::kBadFormat, Subject::Setting("domain"), ""}},
         R"([{"setting":"newDomain","code":"bad_format"}])"},
        {"save_smtp",
         message("error", "no_user_home"),
         {},
         R"([{"setting":"account_type","code":"no_homes"}])"},
        {"save_personal",
         message("error", "no_user_home"),
         {{ReasonCode::kLoops, Subject::Setting("forward_addr"), ""}},
         R"([{"setting":"forward_addr","code":"loops"}])"},
    };
    for (const auto& row : rows) {
        const std::string output = Output(row.action, row.answer, [&row] {
            for (const Reason& reason : row.reasons) host::LogReason(reason);
        });
        EXPECT_EQ(output, kHead + (kHeader + row.header) + "\n\n" + row.answer + "\n");
    }
}

TEST_F(Reasons, AreNotInAHeadOfSuccess)
{
    for (const char* answer : {R"({"success":true})", "null", R"({"total":1})"}) {
        const std::string output = Output("delete_access", answer, [] {
            host::LogReason({ReasonCode::kSystem, Subject::List("access"), "not fatal"});
            host::NoteFailure("told in the audit line alone");
        });
        EXPECT_EQ(output, kHead + ("\n" + std::string(answer)) + "\n");
    }
}

TEST_F(Reasons, AreInTheAnswerToAnImportThatFailed)
{
    const std::string body = Multipart({"name=\"f\"; filename=\"a\"\r\n\r\nx"});
    for (const bool fails : {true, false}) {
        const Answer answer = Run(Sends(kMultipart, body), body, [fails] {
            WebMan web;
            if (!web.IsAuthorized(nullptr, 3, 1) || !web.LoadIn(nullptr)) return 1;
            host::LogReason({ReasonCode::kNoRule, Subject::Line(7), "line 7"});
            if (fails) host::NoteFailure("lines are refused");
            web.WriteHeader("text/html");
            Json::Value success;
            success["success"] = true;
            web.WriteBody(success);
            return 0;
        });
        EXPECT_EQ(answer.output.find(kHeader) != std::string::npos, fails);
        EXPECT_EQ(answer.log.find("; because: line 7 no_rule") != std::string::npos, fails);
        if (!fails) continue;
        EXPECT_EQ(HeaderIn(answer.output), R"([{"line":7,"code":"no_rule"}])");
    }
}

TEST_F(Reasons, HoldNothingThatIsNotCompiledIn)
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    const std::string value = bytes + "\r\nSet-Cookie: secret";
    const std::string output = Output("x", kFailed, [&value] {
        for (const char byte : value) {
            host::LogReason({ReasonCode::kRefused, std::string(1, byte), value});
        }
        host::LogReason(
            {ReasonCode::kRefused, value, value, {{ReasonCode::kRefused, value, value}}});
    });
    EXPECT_EQ(HeaderIn(output), R"([{"service":"mailvane","code":"refused"}])");
    EXPECT_EQ(output.find("secret"), std::string::npos);
}

TEST_F(Reasons, KeepToTheirRoom)
{
    const std::string output = Output("x", kFailed, [] {
        Reason many{ReasonCode::kRefused, "list to import", ""};
        for (int line = 1; line <= 10000; ++line) {
            many.causes.push_back({ReasonCode::kNoEntry, Subject::Line(line * 100000), ""});
        }
        host::LogReason(many);
    });
    const std::string header = HeaderIn(output);
    EXPECT_LE(header.size(), kLongest);
    EXPECT_GT(header.size(), kLongest - 100) << "as many as there is room for";
    Json::Value list;
    ASSERT_TRUE(Json::Reader().parse(header, list)) << header;
    EXPECT_EQ(list[0]["line"].asInt(), 100000);
}

TEST_F(Reasons, DoNotChangeAHeadWithoutABody)
{
    const Answer answer = Run(Sends("application/json", "{}"), "{}", [] {
        WebMan web;
        if (!web.IsAuthorized(nullptr, 3, 1) || !web.LoadIn()) return 1;
        web.WriteHeader("");
        return 0;
    });
    EXPECT_EQ(answer.output, kHead + std::string("\n"));
}

}  // namespace
