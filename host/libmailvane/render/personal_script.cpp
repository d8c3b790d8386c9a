// The Sieve script of one user. The vacation action sends no reply to lists, bulk mail, bounces,
// automatic replies and mail not addressed to the user. Each sender gets the same reply once a day.
#include "host/libmailvane/render/personal_script.h"

#include <algorithm>
#include <array>
#include <ctime>

namespace host::render {

namespace {

const char kHead[] =
    "# Made by mailvane from the settings of its pages: what is changed here is lost. A script of\n"
    "# your own runs after this one.\n"
    "require [\"copy\", \"date\", \"relational\", \"vacation\"];\n";

constexpr std::int64_t kLastSecond = 253402300798;  // the last second of the year 9999 but one

/// A string of the script. Only quote and backslash are special, since the script does not require
/// the extensions that expand "${...}".
std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

/// A test that compares the time of delivery with a moment (seconds since the epoch). Both are
/// compared as texts, in UTC and to the second.
std::string TimeTest(const char* comparison, std::int64_t moment)
{
    const auto seconds = static_cast<std::time_t>(std::min(moment, kLastSecond + 1));
    std::tm parts{};
    std::array<char, 32> text{};
    (void)gmtime_r(&seconds, &parts);
    (void)std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    return std::string("currentdate :zone \"+0000\" :value \"") + comparison + "\" \"iso8601\" \"" +
           text.data() + '"';
}

/// A test whether the reply is due now, the last second of the period included. The time of
/// delivery is the greater text within its second, as "…:59+00:00" > "…:59", so the end is compared
/// by "lt" end + 1.
std::string PeriodTest(const stores::PersonalSettings& settings)
{
    std::string tests = "true";
    if (settings.replyBegin > 0) tests += ",\n        " + TimeTest("ge", settings.replyBegin);
    if (settings.replyEnd > 0) {
        tests += ",\n        " + TimeTest("lt", std::min(settings.replyEnd, kLastSecond) + 1);
    }
    return "allof (" + tests + ')';
}

std::string ReplyWhen(const std::string& test, const stores::Reply& reply)
{
    const std::string subject = reply.subject.empty() ? "" : " :subject " + Quoted(reply.subject);
    return " elsif " + test + " {\n    vacation :days 1" + subject + ' ' + Quoted(reply.message) +
           ";\n}";
}

/// A chain of tests: the reply for this sender, else the general reply.
std::string Replies(const stores::PersonalSettings& settings)
{
    std::string chain;
    for (const stores::SenderReply& entry : settings.senderReplies) {
        chain += ReplyWhen("address :is \"from\" " + Quoted(entry.sender), entry.reply);
    }
    if (settings.reply) chain += ReplyWhen(PeriodTest(settings), settings.generalReply);
    if (chain.empty()) return chain;

    return "if header :is \"X-Spam-Flag\" \"YES\" {\n    # Spam gets no answer.\n}" + chain + '\n';
}

std::string Forwarding(const stores::PersonalSettings& settings)
{
    if (!settings.forward) return "";
    return std::string("redirect ") + (settings.keepCopy ? ":copy " : "") +
           Quoted(settings.forwardAddress) + ";\n";
}

}  // namespace

std::string RenderPersonalScript(const stores::PersonalSettings& settings)
{
    const std::string actions = Replies(settings) + Forwarding(settings);
    return actions.empty() ? "" : kHead + actions;
}

}  // namespace host::render
