// Runs one request as a web server would.
#include "tests/host/libkos/request.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "host/libhaldcore/lock.h"
#include "platform/web/web_man.h"

namespace fs = std::filesystem;

namespace {

Json::Value DescribeUpload(WebMan& web)
{
    Json::Value saw;
    saw["small"] = web.LoadIn(nullptr);
    saw["loaded"] = saw["small"].asBool() || web.LoadIn("/tmp");
    if (const char* path = web.In("upload_file_tmp", nullptr)) {
        struct stat status = {};
        (void)stat(path, &status);
        saw["path"] = path;
        saw["mode"] = static_cast<int>(status.st_mode & 07777);
        fs::copy_file(path, host::Path("/log.upload"), fs::copy_options::overwrite_existing);
    }
    return saw;
}

}  // namespace

int RequestTest::Imitate()
{
    try {
        WebMan web;
        if (!web.IsAuthorized(nullptr, 3, 1)) return 0;

        const bool upload = web.IsUploadRequest();
        if (!upload) (void)web.LoadIn();
        Json::Value saw = upload ? DescribeUpload(web) : Json::Value();
        if (!upload && web.In() != nullptr) saw["body"] = *web.In();
        saw["action"] = web.In("action", "load");
        saw["locked"] = host::LockIsHeld();
        web.WriteHeader("");
        web.WriteBody(saw);
        return 0;
    } catch (const std::exception&) {
        return 255;
    }
}

std::string Answer::StatusLine() const
{
    return output.rfind("Status: ", 0) == 0 ? output.substr(0, output.find('\n')) : "";
}

std::string Answer::Body() const
{
    const std::size_t end = output.find("\n\n");
    return end == std::string::npos ? "" : output.substr(end + 2);
}

void RequestTest::SetUp()
{
    Machine::SetUp();
    fs::create_directory(root + "/tmp");
    Write("/etc/passwd",
          "alice:x:1001:100::/:\npetra:x:1002:900::/:\nbob:x:1003:100::/:\n"
          "eve:x:1004:100::/:\ncarl:x:1005:100::/:\n");
    Write("/etc/group", "users:x:100:bob\nadministrators:x:900:alice,eve,carl,gone\n");
    Write("/etc/shadow", "alice:*:1:0:9:7:::\neve:*:1:0:9:7::100:\ncarl:*:1:0:9:7::99999:\n");
}

Answer RequestTest::Run(const Environment& environment, const std::string& body,
                        const std::function<int()>& serve) const
{
    Write("/stdin", body);
    Write("/log", "");
    const int input = open((root + "/stdin").c_str(), O_RDONLY | O_CLOEXEC);
    const pid_t child = InChild([&] {
        (void)dup2(input, STDIN_FILENO);
        if (freopen((root + "/stdout").c_str(), "w", stdout) == nullptr) return -1;
        (void)clearenv();
        for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
        const int status = serve();
        (void)fflush(stdout);
        std::ofstream log(root + "/log");
        for (const std::string& line : Logged()) log << line << '\n';
        return status;
    });

    const int status = StatusOf(child);
    const auto read = static_cast<std::size_t>(lseek(input, 0, SEEK_CUR));
    (void)close(input);
    return {status, Contents("/stdout"), Contents("/log"), body.substr(read)};
}

Environment Sends(const std::string& type, const std::string& body)
{
    return {{"REQUEST_METHOD", "POST"},
            {"REMOTE_USER", "alice"},
            {"CONTENT_TYPE", type},
            {"CONTENT_LENGTH", std::to_string(body.size())},
            {"HTTP_X_MAILVANE", "1"}};
}

std::string Multipart(const std::initializer_list<std::string>& parts)
{
    std::string body;
    for (const std::string& part : parts) {
        body += "--XyZ\r\nContent-Disposition: form-data; " + part + "\r\n";
    }
    return body + "--XyZ--\r\n";
}
