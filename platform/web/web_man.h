// The request object of one HTTP request: caller, parameters, body, answer. Provided by
// libkos.so.6.
#pragma once

#include <json/value.h>

#include <memory>
#include <string>

#include "platform/web/request_rules.h"

/// One HTTP request and its answer. Output is written to the C stream `stdout`, so that a download
/// which the program itself writes there comes in order. Only functions that say so below write
/// anything.
class WebMan {
public:
    /// The rules of the actions: every body changes something, and so do the actions that the
    /// package's etc/web.conf names.
    WebMan();

    /// Other rules, which stay the caller's and outlive this object.
    explicit WebMan(const RequestRules& rules);
    ~WebMan();
    WebMan(const WebMan&) = delete;
    WebMan& operator=(const WebMan&) = delete;

    /// Whether the caller may administer the mail server; called with `(nullptr, 3, 1)`. When it
    /// returns false because of the headers (no caller, no administrator, a request from another
    /// site, a missing or excessive length), it has written the whole answer.
    bool IsAuthorized(const char* user, int privilege, int position);

    /// Whether the request is a form upload. Can be called before `LoadIn`.
    bool IsUploadRequest();

    /// Loads parameters and JSON body. True on success. For a body that is refused (no JSON object,
    /// incomplete) or a lock that is not obtained in time, it writes the answer and throws
    /// `std::runtime_error`, so that the program does nothing.
    bool LoadIn();

    /// Loads an upload, with the file spooled in `directory`; null keeps the file in memory and
    /// fails for a large one. True on success; the parameter "upload_file_tmp" is then the path of
    /// the file, which is removed when the process ends.
    bool LoadIn(const char* directory);

    /// The parsed JSON body; null when the request has none. Owned by this object.
    Json::Value* In();

    /// The text of a request parameter; `fallback` (may be null) when it is absent. Valid as long
    /// as this object.
    const char* In(const char* name, const char* fallback);

    /// Writes the header of the answer; "" means the default header of a JSON answer. It is held
    /// until the body is known, which may add to it why a request was refused; without a body it
    /// goes out with this object.
    void WriteHeader(const char* contentType);

    /// Writes a value as JSON, also the null value.
    void WriteBody(const Json::Value& body);

    /// Writes the header of a download, which the client saves as `name`; its bytes are the
    /// program's to write. No reason can follow, so the download is refused before or not at all.
    void WriteDownloadHeader(const std::string& name);

    /// Login name of the caller; null when there is none. Owned by this object.
    const char* GetLoginUserName();

    /// Language of the interface: two to eight lower-case letters, safe as part of a file name.
    /// Owned by this object.
    const char* GetUILanguage();

private:
    struct State;
    std::unique_ptr<State> state_;
};
