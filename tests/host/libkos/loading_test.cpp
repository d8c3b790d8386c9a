// Bodies: what is loaded, what is refused, and what protects a change.
#include <fcntl.h>
#include <json/reader.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <csignal>
#include <cstdio>
#include <ctime>

#include "host/libhaldcore/run_program.h"
#include "platform/web/web_man.h"
#include "tests/host/libkos/request.h"

namespace fs = std::filesystem;
using std::string_literals::operator""s;

namespace {

class Loading : public RequestTest {
protected:
    /// Runs the request, which must be answered, and reads the answer.
    Json::Value Saw(const Environment& environment, const std::string& body = "") const
    {
        const Answer answer = Run(environment, body);
        EXPECT_EQ(0, answer.status);
        EXPECT_EQ("", answer.StatusLine()) << answer.log;
        Json::Value saw;
        EXPECT_TRUE(Json::Reader().parse(answer.Body(), saw)) << answer.output;
        return saw;
    }
};

Environment Read(const std::string& query)
{
    return {{"REMOTE_USER", "alice"}, {"QUERY_STRING", query}, {"HTTP_X_MAILVANE", "1"}};
}

/// Serves a request up to where its action would begin, then does `act`.
std::function<int()> Serve(const std::function<int(WebMan&)>& act)
{
    return [act] {
        WebMan web;
        if (!web.IsAuthorized(nullptr, 3, 1)) return 90;
        (void)web.LoadIn();
        return act(web);
    };
}

TEST_F(Loading, RefusesBrokenBodiesAndRunsNothing)
{
    const auto refuse = [this](const char* type, const std::string& body, std::size_t missing = 0) {
        SCOPED_TRACE(type + ": "s + body.substr(0, 60));
        Environment environment = Sends(type, body);
        environment["CONTENT_LENGTH"] = std::to_string(body.size() + missing);
        const Answer answer = Run(environment, body);
        EXPECT_EQ(255, answer.status);
        EXPECT_EQ("Status: 400 Bad Request", answer.StatusLine());
        EXPECT_EQ("{\"success\":false,\"error\":\"bad_request\"}\n", answer.Body());
        EXPECT_EQ("", answer.remaining);
    };
    const std::string deep = std::string(5000, '[') + std::string(5000, ']');
    for (const std::string& json :
         {""s, "{"s, "[1]"s, "{} x"s, "{'a':1}"s, R"({"a":1,"a":2})"s, R"({"a":1,})"s,
          "{\"a\":1} // b"s, R"({"a":NaN})"s, "{\"a\":1}\0"s, R"({"a":"b\u0000c"})"s,
          R"({"a":"\\\u0000c"})"s, "{\"a\":" + deep + "}", "{\"a\":\"\xed\xa0\x80\"}"s,
          R"({"a":[{"b":"\udc00"}]})"s, R"({"\udc00":1})"s}) {
        refuse("application/json", json);
    }
    refuse("application/json", R"({"action":"save_smtp"})", 1);
    refuse("application/x-www-form-urlencoded", "action=load_smtp", 1);
    refuse("application/x-www-form-urlencoded", "action=load_smtp&x=%00");
    refuse("application/x-www-form-urlencoded", "action=load_smtp&x=%FF");
    std::string many;
    for (int i = 0; i < 1001; ++i) many += "a=b&";
    refuse("application/x-www-form-urlencoded", many);
    const std::string half = "name=\"field\"\r\n\r\n" + std::string(600000, 'x');
    refuse(kMultipart, Multipart({half, half}));
    const std::string part = "name=\"file\"; filename=\"a\"\r\n\r\nabc";
    refuse(kMultipart, Multipart({part}), 1000);
    for (const std::string& body :
         {""s, "no multipart"s, "--XyZ\r\nContent-Disposition: form-data; " + part + "\r\n",
          Multipart({part, part}), Multipart({"name=\"field\"\r\n\r\na\0b"s}),
          Multipart({"name=\"field\"\r\n\r\n\xff"s}),
          "--XyZ\r\nContent-Type: text/plain\r\n\r\nabc\r\n--XyZ--\r\n"s,
          "--XyZ\r\nContent-Disposition: attachment; " + part + "\r\n--XyZ--\r\n"}) {
        refuse(kMultipart, body);
    }
    EXPECT_TRUE(fs::is_empty(root + "/tmp"));
}

TEST_F(Loading, TellsJsonBodiesFromParameters)
{
    const std::string text = R"({"action":"a","text":"Gr\u00fc\u00dfe","back":"\\u0000"})";
    Environment environment = Sends("Application/JSON; charset=utf-8", text);
    environment["QUERY_STRING"] = "action=b+c%2F%zz%-0&&action=second";
    Json::Value saw = Saw(environment, text + "beyond the promised length");
    EXPECT_EQ("a", saw["body"]["action"].asString());
    EXPECT_EQ("Gr\u00fc\u00dfe", saw["body"]["text"].asString());
    EXPECT_EQ("\\u0000", saw["body"]["back"].asString());
    EXPECT_EQ("b c/%zz%-0", saw["action"].asString());

    saw = Saw(Sends("application/x-www-form-urlencoded", "action=load_smtp"), "action=load_smtp");
    EXPECT_FALSE(saw.isMember("body"));
    EXPECT_EQ("load_smtp", saw["action"].asString());
    EXPECT_EQ("load", Saw(Read(""))["action"].asString());
}

TEST_F(Loading, SpoolsUploads)
{
    std::string binary = "\r\n--XyX\r\n--Xy\0\r"s;
    for (int i = 0; i < 70000; ++i) binary += static_cast<char>(i);
    const std::string large = binary + std::string(300000, '\r');
    for (const std::string& content : {binary, large, ""s}) {
        SCOPED_TRACE(content.size());
        const std::string body =
            Multipart({"name=\"action\"\r\n\r\nx", "name=\"upload_file_tmp\"\r\n\r\n/etc/passwd",
                       "name=\"f\"; filename=\"C:\\a\\\"\r\nX: y\r\n\r\n" + content});
        const Json::Value saw = Saw(Sends(kMultipart, body), body);
        EXPECT_EQ(content.size() <= 262144, saw["small"].asBool());
        EXPECT_TRUE(saw["loaded"].asBool());
        EXPECT_EQ(0600, saw["mode"].asInt());
        EXPECT_EQ("x", saw["action"].asString());
        EXPECT_EQ(root + "/tmp", fs::path(saw["path"].asString()).parent_path());
        EXPECT_TRUE(fs::is_empty(root + "/tmp"));
        EXPECT_TRUE(content == Contents(root + "/log.upload"));
    }
}

TEST_F(Loading, NeverTakesThePathOfAnUploadFromTheClient)
{
    const std::string body = Multipart(
        {"name=\"upload_file_tmp\"\r\n\r\n/etc/passwd", "name=\"f\"; filename=\"\"\r\n\r\n"});
    Environment environment = Sends(kMultipart, body);
    environment["QUERY_STRING"] = "upload_file_tmp=/etc/passwd";
    EXPECT_FALSE(Saw(environment, body).isMember("path"));
}

TEST_F(Loading, LeavesNothingOfAnUploadThatCannotBeStored)
{
    const std::string body =
        Multipart({"name=\"f\"; filename=\"a\"\r\n\r\n" + std::string(600000, 'x')});
    const Answer answer = Run(Sends(kMultipart, body), body, [] {
        WebMan web;
        if (web.LoadIn(nullptr) || web.LoadIn("/no/such/directory")) return 1;
        web.WriteHeader("text/html");
        return web.In("upload_file_tmp", nullptr) == nullptr ? 0 : 2;
    });
    EXPECT_EQ(0, answer.status);
    EXPECT_EQ("", answer.remaining);
    EXPECT_TRUE(fs::is_empty(root + "/tmp"));
}

TEST_F(Loading, CountsAStagedImportForFifteenMinutes)
{
    const std::string body = Multipart({});
    const std::string staged = root + "/tmp/mailvane.import";
    const auto survives = [&](int age, uid_t owner = geteuid()) {
        Write("/tmp/mailvane.import", "import_type=\"bcc\"\n");
        const struct utimbuf times = {time(nullptr) - age, time(nullptr) - age};
        (void)utime(staged.c_str(), &times);
        (void)!chown(staged.c_str(), owner, static_cast<gid_t>(-1));
        (void)Run(Sends(kMultipart, body), body);
        return fs::exists(staged);
    };
    EXPECT_TRUE(survives(14 * 60));
    EXPECT_FALSE(survives(16 * 60));
    EXPECT_FALSE(survives(-3600));
    EXPECT_EQ(geteuid() != 0, survives(0, 12345));  // only root gives files away

    Write("/tmp/elsewhere", "import_type=\"bcc\"\n");
    fs::create_symlink(root + "/tmp/elsewhere", staged);
    (void)Run(Sends(kMultipart, body), body);
    EXPECT_FALSE(fs::is_symlink(staged));
    EXPECT_TRUE(fs::exists(root + "/tmp/elsewhere"));
}

TEST_F(Loading, LocksForChangesAlone)
{
    const std::string upload = Multipart({});
    EXPECT_TRUE(Saw(Sends("application/json", "{}"), "{}")["locked"].asBool());
    EXPECT_TRUE(Saw(Sends(kMultipart, upload), upload)["locked"].asBool());
    EXPECT_TRUE(Saw(Read("action=fresh_clam"))["locked"].asBool());
    EXPECT_FALSE(Saw(Read("action=load_smtp"))["locked"].asBool());
    const std::string form = "action=fresh_clam";
    EXPECT_TRUE(Saw(Sends("application/x-www-form-urlencoded", form), form)["locked"].asBool());

    // Another writer has the lock and every place of those who wait is taken.
    const int file = open(host::PackagePath("etc/lock").c_str(), O_RDWR | O_CREAT, 0600);
    struct flock all = {};
    all.l_type = F_WRLCK;
    ASSERT_EQ(0, fcntl(file, F_OFD_SETLK, &all));
    const Answer answer = Run(Sends("application/json", "{}"), "{}");
    EXPECT_EQ(255, answer.status);
    EXPECT_EQ("Status: 503 Service Unavailable", answer.StatusLine());
    EXPECT_NE(std::string::npos, answer.output.find("\nRetry-After: "));
    EXPECT_EQ("{\"success\":false,\"error\":\"busy\"}\n", answer.Body());
    EXPECT_NE(
        std::string::npos,
        answer.output.find("\nX-Mailvane-Reason: [{\"service\":\"gate\",\"code\":\"busy\"}]\n"));
    EXPECT_NE(std::string::npos, answer.log.find(": refused (503, another change is under way)"));
    EXPECT_FALSE(Saw(Read("action=load_smtp"))["locked"].asBool());
    (void)close(file);

    fs::remove_all(host::PackagePath("etc"));
    EXPECT_EQ("Status: 503 Service Unavailable",
              Run(Sends("application/json", "{}"), "{}").StatusLine());
}

TEST_F(Loading, InterruptsNoChange)
{
    const auto raiseAll = Serve([](WebMan&) {
        for (const int signal : {SIGTERM, SIGHUP, SIGPIPE}) (void)raise(signal);
        return 7;
    });
    EXPECT_EQ(7, Run(Sends("application/json", "{}"), "{}", raiseAll).status);
    EXPECT_EQ(7, Run(Read("action=generate_dkim_key"), "", raiseAll).status);
    EXPECT_EQ(-SIGTERM, Run(Read("action=load_smtp"), "", raiseAll).status);
}

TEST_F(Loading, LimitsItselfAndNotWhatItStarts)
{
    const auto limits = Serve([](WebMan&) {
        struct rlimit core;
        struct rlimit processor;
        (void)getrlimit(RLIMIT_CORE, &core);
        (void)getrlimit(RLIMIT_CPU, &processor);
        if (core.rlim_cur != 0 || processor.rlim_cur > 60 || umask(0) != 077) return 1;
#if !defined(__SANITIZE_ADDRESS__)  // which takes more addresses than there is memory
        struct rlimit memory;
        (void)getrlimit(RLIMIT_AS, &memory);
        if (memory.rlim_cur > rlim_t{512} << 20) return 2;
#endif
        host::ProgramOptions options;
        options.capture = true;
        const auto shell =
            host::RunProgram({"/bin/sh", "-c", "ulimit -v; ulimit -t; umask"}, options);
        (void)fputs(shell.output.c_str(), stdout);
        return 0;
    });
    const Answer answer = Run(Read("action=load_smtp"), "", limits);
    EXPECT_EQ(0, answer.status);
    EXPECT_EQ("unlimited\nunlimited\n0022\n", answer.output);
}

TEST_F(Loading, WritesTheAnswerAndNothingElse)
{
    const auto write = Serve([](WebMan& web) {
        (void)printf("before\n");
        web.WriteHeader("");
        web.WriteBody(Json::Value("\xff\xc3\xbc"));
        web.WriteBody(Json::Value());
        return 0;
    });
    EXPECT_EQ(
        "before\nContent-Type: application/json; charset=\"UTF-8\"\nCache-Control: no-store\n"
        "X-Content-Type-Options: nosniff\n\n\"\\ufffd\\u00fc\"\nnull\n",
        Run(Read("action=load_smtp"), "", write).output);
}

}  // namespace
