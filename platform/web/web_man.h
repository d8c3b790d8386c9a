// The request object of one HTTP request: who calls, what was sent, where the answer goes.
// Provided by libkos.so.6.
#pragma once

#include <json/value.h>

#include <memory>

/// One HTTP request and its answer. Output goes to the C stream `stdout`, so that a download
/// written there by the program itself keeps its order. Nothing is written unless an operation
/// below says so.
class WebMan {
public:
    WebMan();
    ~WebMan();
    WebMan(const WebMan&) = delete;
    WebMan& operator=(const WebMan&) = delete;

    /// Whether the caller may administer the mail server; called `(nullptr, 3, 1)`.
    /// On a refusal that the headers decide (no caller, no administrator, another site's request,
    /// a missing or excessive length) the whole answer has been written when this returns false.
    bool IsAuthorized(const char* user, int privilege, int position);

    /// Whether the request is a form upload. May be called before any `LoadIn`.
    bool IsUploadRequest();

    /// Loads parameters and JSON body. True on success. A body that must be refused (no JSON, no
    /// object, cut short) or a lock that is not had in time is answered here, and then
    /// `std::runtime_error` is thrown so that nothing runs.
    bool LoadIn();

    /// Loads an upload. Null keeps it in memory's own spool and fails for a large one; a directory
    /// spools the file there. On success the parameter "upload_file_tmp" is the path of the file,
    /// which is removed when the process ends. True on success.
    bool LoadIn(const char* directory);

    /// The parsed JSON body, null when the request carries none. Owned by this object.
    Json::Value* In();

    /// Text of a request parameter, or `fallback` (which may be null) when it is absent. The text
    /// lives as long as this object.
    const char* In(const char* name, const char* fallback);

    /// Writes the header of the answer; "" stands for the default header of a JSON answer.
    void WriteHeader(const char* contentType);

    /// Writes a value as JSON, the null value included.
    void WriteBody(const Json::Value& body);

    /// Login name of the caller; null when there is none. Owned by this object.
    const char* GetLoginUserName();

    /// Language of the interface, two to eight lower-case letters, so that it can be part of a file
    /// name. Owned by this object.
    const char* GetUILanguage();

private:
    struct State;
    std::unique_ptr<State> state_;
};
