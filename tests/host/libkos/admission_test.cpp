// Who and what is let in, and how a refusal looks from outside.

#include <unistd.h>

#include <algorithm>
#include <array>

#include "host/libkos/audit_line.h"
#include "host/libkos/caller_check.h"
#include "host/libkos/cross_site.h"
#include "tests/host/libkos/request.h"

namespace {

using kos::JudgeSite;
using kos::SiteHeaders;
using kos::SiteVerdict;

Environment With(Environment environment, const Environment& more)
{
    for (const auto& [name, value] : more) environment[name] = value;
    return environment;
}

Environment Get(const std::string& query, const Environment& more = {})
{
    const Environment plain = {{"REQUEST_METHOD", "GET"}, {"REMOTE_USER", "alice"}};
    return With(With(plain, {{"QUERY_STRING", query}, {"CONTENT_LENGTH", "0"}}), more);
}

/// As a program sends it that adds no header.
Environment WithoutProof(const std::string& type, const std::string& body)
{
    Environment environment = Sends(type, body);
    environment.erase("HTTP_X_MAILVANE");
    return environment;
}

class Admission : public RequestTest {};

TEST_F(Admission, RefusesWithAWholeAnswerAndRunsNothing)
{
    const std::string json = R"({"action":"save_smtp"})";
    const Environment save = Sends("application/json", json);
    const std::string five(std::size_t{5} << 20, 'x');
    const struct {
        const char* want;  // status and word of the answer
        Environment environment;
        std::string body;
    } cases[] = {
        {"401 unauthorized", With(save, {{"REMOTE_USER", ""}}), json},
        {"403 forbidden", With(save, {{"REMOTE_USER", "bob"}}), json},
        {"403 forbidden", With(save, {{"REMOTE_USER", "gone"}}), json},
        {"403 forbidden", With(save, {{"REMOTE_USER", "eve"}}), json},
        {"403 forbidden", With(save, {{"REMOTE_USER", "alice\nx"}}), json},
        {"403 forbidden", With(save, {{"REMOTE_USER", "alice:x"}}), json},
        {"403 forbidden", With(Sends("application/json", five), {{"REMOTE_USER", "bob"}}), five},
        {"403 cross_site", With(save, {{"HTTP_SEC_FETCH_SITE", "cross-site"}}), json},
        {"403 cross_site", Get("action=load_smtp", {{"HTTP_SEC_FETCH_SITE", "same-site"}}), ""},
        {"403 cross_site", Get("action=fresh_clam"), ""},
        {"403 cross_site", Get("action=fresh_clam", {{"HTTP_SEC_FETCH_SITE", "none"}}), ""},
        {"403 cross_site", WithoutProof(kMultipart, json), json},
        {"403 cross_site", WithoutProof("application/x-www-form-urlencoded", json), json},
        {"400 bad_request", Get("action=fresh_clam%00x"), ""},
        {"405 method_not_allowed", With(save, {{"REQUEST_METHOD", "PUT"}}), json},
        {"411 length_required", With(save, {{"CONTENT_LENGTH", ""}}), json},
        {"411 length_required",
         Get("", {{"HTTP_TRANSFER_ENCODING", "chunked"}, {"CONTENT_LENGTH", ""}}), json},
        {"400 bad_request", With(save, {{"CONTENT_LENGTH", "-1"}}), json},
        {"400 bad_request", With(save, {{"CONTENT_LENGTH", "18446744073709551617"}}), json},
        {"413 too_large", Sends("application/json", five), five},
        {"413 too_large", With(Sends(kMultipart, ""), {{"CONTENT_LENGTH", "67108865"}}), ""},
        {"415 unsupported_type", Sends("text/plain", json), json},
        {"400 bad_request", Sends("multipart/form-data", json), json},
        {"400 bad_request", Sends("multipart/form-data; boundary=" + std::string(71, 'b'), json),
         json},
    };
    for (const auto& [want, environment, body] : cases) {
        SCOPED_TRACE(want);
        const Answer answer = Run(environment, body);
        const std::string word = std::string(want).substr(4);
        EXPECT_EQ(0, answer.status);
        EXPECT_EQ("Status: " + std::string(want, 4), answer.StatusLine().substr(0, 12));
        EXPECT_EQ(R"({"success":false,"error":")" + word + "\"}\n", answer.Body());
        EXPECT_EQ(0U, answer.remaining.size()) << "left unread";
        EXPECT_EQ(1, std::count(answer.log.begin(), answer.log.end(), '\n')) << answer.log;
    }
}

TEST_F(Admission, TakesRequestsToNamesOfItsOwn)
{
    const auto isTaken = [this](const std::string& host) {
        return Run(Get("action=load_smtp", {{"HTTP_HOST", host}})).StatusLine().empty();
    };
    Write("/etc/default/mailvane", "MAILVANE_WEB_HOSTS=\"\"\n");
    EXPECT_TRUE(isTaken("any.test")) << "where nobody has said which";
    Write(host::PackagePath("etc/mailvane.conf"), "web_names=\"own\"\n");
    EXPECT_FALSE(isTaken("any.test")) << "in a first installation";

    Write("/etc/default/mailvane", "MAILVANE_WEB_HOSTS=\"admin.lan  Pages.lan\"\n");
    Write(host::PackagePath("etc/mailvane.conf"), "smtp_hostname=\"Mail.example.org\"\n");
    Write(host::PackagePath("etc/tls/cert.pem"), "the certificate");
    Write("/usr/bin/openssl",
          "#!/bin/sh\n[ \"$6\" = of.certificate ] && not= || not=NOT\n"
          "echo \"Hostname $6 does ${not:-}${not:+ }match certificate\"\n",
          0755);
    std::array<char, 256> machine = {};
    ASSERT_EQ(0, gethostname(machine.data(), machine.size() - 1));
    for (const char* own :
         {"", "localhost", "LOCALHOST:8080", "127.0.0.1:8080", "192.0.2.1", "[::1]:8080",
          "[2001:db8::1]", "admin.lan", "pages.lan:8443", "mail.example.org.",
          "of.certificate:8443", static_cast<const char*>(machine.data())}) {
        EXPECT_TRUE(isTaken(own)) << own;
    }
    for (const char* foreign :
         {"attacker.example", "attacker.example:8098", "example.org", "localhost.attacker.example",
          "127.0.0.1.attacker.example", "[::1].attacker.example", "[", ":8080", ".", "admin.lan@x",
          "-checkend", "admin.lan pages.lan"}) {
        EXPECT_FALSE(isTaken(foreign)) << foreign;
    }
}

TEST_F(Admission, LetsAdministratorsIn)
{
    // What changes something is logged with who did it; reading is not.
    const std::string changed = "mailvane: audit: user \"alice\", address , action ";
    const std::pair<Environment, std::string> cases[] = {
        {Get("action=load_smtp"), ""},
        {Get("action=load_smtp", {{"REMOTE_USER", "petra"}}), ""},
        {Get("action=load_smtp", {{"REMOTE_USER", "carl"}}), ""},
        {Get("action=fresh_clam", {{"HTTP_X_MAILVANE", "1"}}), changed + "fresh_clam: done\n"},
        {{{"REMOTE_USER", "alice"}, {"QUERY_STRING", "action=load_smtp"}}, ""},
        {WithoutProof("application/json", "{}"), changed + ": done\n"},
    };
    for (const auto& [environment, log] : cases) {
        const Answer answer = Run(environment, "{}");
        EXPECT_EQ("", answer.StatusLine()) << log;
        EXPECT_EQ(log, answer.log);
    }
}

TEST(Caller, IsExpiredFromTheDayOnThatTheAccountNames)
{
    const kos::CallerGroup administrators{900, {"alice"}};
    EXPECT_EQ(kos::Caller::kAdministrator,
              kos::JudgeCaller({"alice", 100, 20000}, administrators, 19999));
    EXPECT_EQ(kos::Caller::kExpired,
              kos::JudgeCaller({"alice", 100, 20000}, administrators, 20000));
}

TEST(AuditLine, TellsAFailureWithoutAMessage)
{
    Json::Value answer;
    answer["success"] = false;
    EXPECT_EQ("failed", kos::ResultOf(answer));
}

TEST_F(Admission, FollowsTheConfiguredGroupAndSource)
{
    const auto refused = [this](const char* user) {
        return Run(Get("action=load_smtp", {{"REMOTE_USER", user}})).StatusLine();
    };
    Write("/etc/haldinfo.conf", "admin_group=\"users\"\n");
    EXPECT_EQ("", refused("bob"));
    EXPECT_EQ("Status: 403 Forbidden", refused("petra"));

    Write("/etc/haldinfo.conf", "admin_group=\"nobody_has_this_group\"\n");
    EXPECT_EQ("Status: 403 Forbidden", refused("alice"));

    // The machine's own accounts, where only root reads the expiry.
    Write("/etc/haldinfo.conf", "admin_group=\"root\"\nadmin_source=\"nss\"\n");
    EXPECT_EQ("Status: 403 Forbidden", refused("alice"));
    EXPECT_EQ(geteuid() == 0 ? "" : "Status: 503 Service Unavailable", refused("root"));

    std::filesystem::remove(root + "/etc/haldinfo.conf");
    std::filesystem::remove(root + "/etc/group");
    std::filesystem::create_directory(root + "/etc/group");
    EXPECT_EQ("Status: 503 Service Unavailable", refused("alice"));
}

TEST_F(Admission, TakesTheChangingActionsFromTheConfiguration)
{
    const std::string file = "/var/packages/Mailvane/target/etc/web.conf";
    const auto refused = [this](const char* action) {
        return !Run(Get(std::string("action=") + action)).StatusLine().empty();
    };
    Write(file, "state_changing_actions=\"mailvane_check \tload_log\"\n");
    EXPECT_TRUE(refused("mailvane_check"));
    EXPECT_TRUE(refused("load_log"));
    EXPECT_FALSE(refused("fresh_clam"));
    EXPECT_FALSE(refused("load"));  // part of a listed name

    Write(file, "# damaged\n");
    EXPECT_TRUE(refused("fresh_clam"));
    EXPECT_FALSE(refused("load_log"));
}

TEST(CrossSite, TellsOwnPagesFromForeignOnes)
{
    using Text = std::optional<std::string>;
    const auto kPass = SiteVerdict::kPass;
    const auto kForeign = SiteVerdict::kForeign;
    const auto kUnproven = SiteVerdict::kUnproven;
    const Text none;
    const struct {
        const char* host;
        Text fetchSite, origin, referer;
        SiteVerdict reading, changing;
    } cases[] = {
        {"mail.lan", none, none, none, kPass, kUnproven},
        {"mail.lan", "same-origin", none, none, kPass, kPass},
        {"mail.lan", "none", none, none, kPass, kUnproven},
        {"mail.lan", "same-site", none, none, kForeign, kForeign},
        {"mail.lan", "", none, none, kForeign, kForeign},
        {"mail.lan", "same-origin, cross-site", none, none, kForeign, kForeign},
        {"mail.lan", "cross-site", "https://mail.lan", none, kForeign, kForeign},
        {"mail.lan", "none", "https://evil", none, kPass, kUnproven},
        {"mail.lan", none, "https://mail.lan", none, kPass, kPass},
        {"mail.lan:443", none, "https://MAIL.lan", none, kPass, kPass},
        {"mail.lan", none, "http://mail.lan:80", none, kPass, kPass},
        {"mail.lan", none, "http://mail.lan:8080", none, kForeign, kForeign},
        {"mail.lan:8080", none, "http://mail.lan", none, kForeign, kForeign},
        {"[::1]:8080", none, none, "http://[::1]:8080/ui?x#y", kPass, kPass},
        {"[::1]:80", none, "http://[::1]", none, kPass, kPass},
        {"mail.lan", none, "null", none, kForeign, kForeign},
        {"mail.lan", none, "", none, kForeign, kForeign},
        {"mail.lan", none, "https://mail.lan.evil", none, kForeign, kForeign},
        {"mail.lan", none, none, "https://evil/mail.lan/", kForeign, kForeign},
        {"mail.lan", none, none, "https://mail.lan@evil/", kForeign, kForeign},
        {"mail.lan", none, none, "https://mail.lan\\@evil/", kForeign, kForeign},
        {"mail.lan", none, "https://mail.lan", "https://evil/", kForeign, kForeign},
        {"", none, "https://", none, kForeign, kForeign},
        {"", none, "https://mail.lan", none, kForeign, kForeign},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(std::string(test.host) + " " + test.fetchSite.value_or("-") + " " +
                     test.origin.value_or("-") + " " + test.referer.value_or("-"));
        SiteHeaders headers{test.host, test.fetchSite, test.origin, test.referer, false};
        EXPECT_EQ(test.reading, JudgeSite(headers, false));
        EXPECT_EQ(test.changing, JudgeSite(headers, true));
        headers.ownHeader = true;
        EXPECT_EQ(test.reading, JudgeSite(headers, true)) << "with the header of its own";
    }
}

}  // namespace
