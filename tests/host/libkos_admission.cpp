// Who and what is let in, and how a refusal looks from outside.
#include <json/value.h>

#include <algorithm>
#include <filesystem>

#include "host/libhaldcore/paths.h"
#include "host/libkos/cross_site.h"
#include "tests/host/libkos_request.h"

namespace {

using kos::JudgeSite;
using kos::SiteHeaders;
using kos::SiteVerdict;

const std::string kMegabyte(std::size_t{1} << 20, 'x');

Environment Get(const std::string& query, const Environment& more = {})
{
    Environment environment = more;
    environment.insert({{"REQUEST_METHOD", "GET"},
                        {"REMOTE_USER", "alice"},
                        {"QUERY_STRING", query},
                        {"CONTENT_LENGTH", "0"}});
    return environment;
}

Environment With(Environment environment, const Environment& more)
{
    for (const auto& [name, value] : more) environment[name] = value;
    return environment;
}

class Admission : public RequestTest {};

TEST_F(Admission, RefusesWithAWholeAnswerAndRunsNothing)
{
    const std::string json = R"({"action":"save_smtp"})";
    const Environment save = Sends("application/json", json);
    const Environment form = Sends("application/x-www-form-urlencoded", "a=b");
    const std::string five = kMegabyte + kMegabyte + kMegabyte + kMegabyte + kMegabyte;
    const struct {
        const char* name;
        Environment environment;
        std::string body;
        const char* status;
        const char* error;
    } cases[] = {
        {"no name", With(save, {{"REMOTE_USER", ""}}), json, "401 Unauthorized", "unauthorized"},
        {"no member", With(save, {{"REMOTE_USER", "bob"}}), json, "403 Forbidden", "forbidden"},
        {"no account", With(save, {{"REMOTE_USER", "gone"}}), json, "403 Forbidden", "forbidden"},
        {"expired", With(save, {{"REMOTE_USER", "eve"}}), json, "403 Forbidden", "forbidden"},
        {"bad name", With(save, {{"REMOTE_USER", "alice\nx"}}), json, "403 Forbidden", "forbidden"},
        {"field of passwd", With(save, {{"REMOTE_USER", "alice:x"}}), json, "403 Forbidden",
         "forbidden"},
        {"large and no member",
         With(Sends("application/json", kMegabyte), {{"REMOTE_USER", "bob"}}), kMegabyte,
         "403 Forbidden", "forbidden"},
        {"foreign page", With(save, {{"HTTP_SEC_FETCH_SITE", "cross-site"}}), json, "403 Forbidden",
         "cross_site"},
        {"foreign read", Get("action=load_smtp", {{"HTTP_SEC_FETCH_SITE", "same-site"}}), "",
         "403 Forbidden", "cross_site"},
        {"changing read", Get("action=fresh_clam"), "", "403 Forbidden", "cross_site"},
        {"changing read, typed in", Get("action=fresh_clam", {{"HTTP_SEC_FETCH_SITE", "none"}}), "",
         "403 Forbidden", "cross_site"},
        {"changing read with a NUL", Get("action=fresh_clam%00x"), "", "400 Bad Request",
         "bad_request"},
        {"method", With(save, {{"REQUEST_METHOD", "PUT"}}), json, "405 Method Not Allowed",
         "method_not_allowed"},
        {"no length", With(save, {{"CONTENT_LENGTH", ""}}), json, "411 Length Required",
         "length_required"},
        {"chunked", Get("", {{"HTTP_TRANSFER_ENCODING", "chunked"}, {"CONTENT_LENGTH", ""}}), json,
         "411 Length Required", "length_required"},
        {"negative length", With(save, {{"CONTENT_LENGTH", "-1"}}), json, "400 Bad Request",
         "bad_request"},
        {"length with a unit", With(save, {{"CONTENT_LENGTH", "12k"}}), json, "400 Bad Request",
         "bad_request"},
        {"length beyond 64 bits", With(save, {{"CONTENT_LENGTH", "18446744073709551617"}}), json,
         "400 Bad Request", "bad_request"},
        {"long JSON", Sends("application/json", five), five, "413 Content Too Large", "too_large"},
        {"long form", Sends("application/x-www-form-urlencoded", five), five,
         "413 Content Too Large", "too_large"},
        {"long upload", With(Sends(kMultipart, ""), {{"CONTENT_LENGTH", "67108865"}}), "",
         "413 Content Too Large", "too_large"},
        {"type", Sends("text/plain", json), json, "415 Unsupported Media Type", "unsupported_type"},
        {"no boundary", Sends("multipart/form-data", json), json, "400 Bad Request", "bad_request"},
        {"long boundary", Sends("multipart/form-data; boundary=" + std::string(71, 'b'), json),
         json, "400 Bad Request", "bad_request"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        const Answer answer = Run(test.environment, test.body);
        EXPECT_EQ(0, answer.status);
        EXPECT_EQ(std::string("Status: ") + test.status, answer.StatusLine());
        EXPECT_EQ(std::string(R"({"success":false,"error":")") + test.error + "\"}\n",
                  answer.Body());
        EXPECT_EQ("", answer.remaining.substr(0, 10)) << "left unread";
        EXPECT_EQ(1, std::count(answer.log.begin(), answer.log.end(), '\n')) << answer.log;
    }
}

TEST_F(Admission, LetsAdministratorsIn)
{
    const struct {
        const char* name;
        Environment environment;
    } cases[] = {
        {"member", Get("action=load_smtp")},
        {"primary group", Get("action=load_smtp", {{"REMOTE_USER", "petra"}})},
        {"expires later", Get("action=load_smtp", {{"REMOTE_USER", "carl"}})},
        {"typed in", Get("action=load_smtp", {{"HTTP_SEC_FETCH_SITE", "none"}})},
        {"own script", Get("action=fresh_clam", {{"HTTP_X_MAILVANE", "1"}})},
        {"own page", Get("action=fresh_clam", {{"HTTP_SEC_FETCH_SITE", "same-origin"}})},
        {"no method", {{"REMOTE_USER", "alice"}, {"QUERY_STRING", "action=load_smtp"}}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        const Answer answer = Run(test.environment);
        EXPECT_EQ(0, answer.status);
        EXPECT_EQ("", answer.StatusLine());
        EXPECT_EQ("", answer.log);
    }
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

    std::filesystem::remove(root_ + "/etc/haldinfo.conf");
    std::filesystem::remove(root_ + "/etc/group");
    std::filesystem::create_directory(root_ + "/etc/group");
    EXPECT_EQ("Status: 503 Service Unavailable", refused("alice"));
}

TEST_F(Admission, TakesTheChangingActionsFromTheConfiguration)
{
    const std::string file = "/var/packages/Mailvane/target/etc/web.conf";
    const auto refused = [this](const char* action) {
        return !Run(Get(std::string("action=") + action)).StatusLine().empty();
    };
    Write(file, "state_changing_actions=\"mailvane_check  load_log\"\n");
    EXPECT_TRUE(refused("mailvane_check"));
    EXPECT_TRUE(refused("load_log"));
    EXPECT_FALSE(refused("fresh_clam"));
    EXPECT_FALSE(refused("load"));  // part of a listed name

    Write(file, "# damaged\n");
    EXPECT_TRUE(refused("fresh_clam"));
    EXPECT_FALSE(refused("load_log"));
}

TEST_F(Admission, KeepsForgedTextOutOfTheLog)
{
    const Answer answer =
        Run(Get("", {{"REMOTE_USER", "x\nmailvane: fine"}, {"REMOTE_ADDR", "\x1b"}}));
    EXPECT_EQ(1, std::count(answer.log.begin(), answer.log.end(), '\n'));
    EXPECT_EQ(std::string::npos, answer.log.find('\x1b'));
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
        Text fetchSite;
        Text origin;
        Text referer;
        SiteVerdict reading;
        SiteVerdict changing;
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
        {"[::1]", none, "http://[::1]", none, kPass, kPass},
        {"mail.lan", none, "null", none, kForeign, kForeign},
        {"mail.lan", none, "", none, kForeign, kForeign},
        {"mail.lan", none, "https://mail.lan.evil", none, kForeign, kForeign},
        {"mail.lan", none, none, "https://evil/mail.lan/", kForeign, kForeign},
        {"mail.lan", none, none, "https://mail.lan@evil/", kForeign, kForeign},
        {"mail.lan", none, none, "https://mail.lan\\@evil/", kForeign, kForeign},
        {"mail.lan", none, none, "ftp://mail.lan/", kForeign, kForeign},
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
