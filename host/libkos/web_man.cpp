// The request object for one CGI request. Reads the environment and standard input, writes standard
// output; holds the request lock when the request changes something.
#include "platform/web/web_man.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>

#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/request_note.h"
#include "host/libhaldcore/unconfirmed.h"
#include "host/libkos/action_rules.h"
#include "host/libkos/admission.h"
#include "host/libkos/answer.h"
#include "host/libkos/answer_reasons.h"
#include "host/libkos/audit_line.h"
#include "host/libkos/body_reader.h"
#include "host/libkos/form_parser.h"
#include "host/libkos/import_staging.h"
#include "host/libkos/json_body.h"
#include "host/libkos/languages.h"
#include "host/libkos/process_hygiene.h"
#include "host/libkos/turn.h"
#include "host/libkos/upload.h"

using kos::BodyKind;
using kos::LengthKind;
using kos::Refusal;

namespace {

constexpr char kUploadPath[] = "upload_file_tmp";

/// The bytes to read before the answer. A body of unknown length ends with the stream.
std::uint64_t BytesToRead(const kos::BodyHead& body)
{
    return body.lengthKind == LengthKind::kKnown ? body.length : UINT64_MAX;
}

}  // namespace

struct WebMan::State {
    explicit State(const RequestRules* othersRules)
        : ownRules(othersRules == nullptr ? std::make_unique<kos::ActionRules>() : nullptr),
          rules(othersRules == nullptr ? *ownRules : *othersRules)
    {
    }

    const std::unique_ptr<const RequestRules> ownRules;
    const RequestRules& rules;
    const kos::CgiRequest request = kos::ReadCgiRequest();
    kos::Parameters parameters;
    const bool goodQuery = kos::ParseForm(request.query, parameters);
    kos::BodyReader body{STDIN_FILENO, BytesToRead(request.body)};
    std::optional<kos::Upload> upload;
    std::unique_ptr<Json::Value> json;
    std::string language;
    bool loaded = false;
    bool audited = false;
    std::optional<std::string> heldType;  ///< of a head that waits for its body

    std::string Name() const;
    RequestDemands Demands() const;
    void Audit(const std::string& result, const std::string& reasons);
    void WriteHeldHead(const kos::Reasons& reasons);
    void Refuse(const Refusal& refusal);
    [[noreturn]] void RefuseAndThrow(const Refusal& refusal);
    void LoadJson();
    void LoadForm();
    bool LoadUpload(const char* directory);
    void Begin();
    void TakeLock();
    void WantConfirmation();
};

/// What is asked for; empty until it has been read.
std::string WebMan::State::Name() const
{
    if (request.body.kind == BodyKind::kUpload) return host::kUploadAction;
    if (json != nullptr) {
        const Json::Value& members = *json;  // const, so that operator[] adds no member
        const Json::Value& name = members[rules.NameMember()];
        return name.isString() ? name.asString() : "";
    }
    const std::string* const name = parameters.Find(rules.NameMember());
    return name != nullptr ? *name : "";
}

/// What the request has to bring, judging by what has been read.
RequestDemands WebMan::State::Demands() const
{
    const BodyKind kind = request.body.kind;
    return rules.DemandsOf(Name(), kind == BodyKind::kJson || kind == BodyKind::kUpload);
}

/// Writes the audit line of a request that changes something, once.
void WebMan::State::Audit(const std::string& result, const std::string& reasons)
{
    if (audited || !loaded || !Demands().changes) return;

    audited = true;
    kos::WriteAuditLine(request, Name(), result, reasons);
}

void WebMan::State::WriteHeldHead(const kos::Reasons& reasons)
{
    if (!heldType) return;
    kos::WriteHead(*heldType, kos::ReasonHeader(reasons));
    heldType.reset();
}

/// Writes a refusal after reading the rest of the body: some web servers truncate an answer that
/// comes before the client has sent everything.
void WebMan::State::Refuse(const Refusal& refusal)
{
    body.Drain();
    kos::WriteRefusal(refusal, request.user, request.address);
}

void WebMan::State::RefuseAndThrow(const Refusal& refusal)
{
    Audit("refused (" + std::to_string(refusal.status) + ", " + refusal.reason + ")",
          refusal.error);
    Refuse(refusal);
    throw std::runtime_error("request refused: " + refusal.reason);
}

void WebMan::State::LoadJson()
{
    std::string text;
    if (!body.ReadAll(text)) RefuseAndThrow({400, "bad_request", "a body that was cut short"});

    const char* reason = nullptr;
    json = kos::ParseJsonBody(text, reason);
    if (json == nullptr) RefuseAndThrow({400, "bad_request", reason});
    kos::ClearStagingNames();
    host::NoteRequest({Name(), request.user, kos::TypesPassword(*json)});
}

void WebMan::State::LoadForm()
{
    std::string text;
    if (!body.ReadAll(text)) RefuseAndThrow({400, "bad_request", "a body that was cut short"});
    if (!kos::ParseForm(text, parameters)) {
        RefuseAndThrow({400, "bad_request", "form parameters that are not taken"});
    }
}

bool WebMan::State::LoadUpload(const char* directory)
{
    using Result = kos::Upload::Result;
    host::NoteRequest({Name(), request.user});
    if (!upload) upload.emplace(request.body.boundary, parameters);
    switch (upload->Load(body, directory)) {
        case Result::kDone:
            return true;
        case Result::kLarge:
            return false;
        case Result::kMalformed:
            RefuseAndThrow({400, "bad_request", "a malformed upload"});
        case Result::kCutShort:
            RefuseAndThrow({400, "bad_request", "an upload that was cut short"});
        case Result::kNoSpace:
            break;
    }
    host::Log(LOG_ERR, "the upload cannot be stored: %s", host::ErrnoText());
    return false;
}

/// Begins a loaded request: takes what keeps others away, until the process ends. Of one that
/// changes something signals are blocked.
void WebMan::State::Begin()
{
    loaded = true;
    if (json == nullptr) host::NoteRequest({Name(), request.user});
    const RequestDemands demands = Demands();
    if (demands.changes) {
        kos::DeferSignals();
    } else {
        kos::AllowSignals();
    }
    if (demands.lock) TakeLock();
    if (demands.lock && !demands.settles) WantConfirmation();
    if (demands.alone && !kos::TakeTurn(Name())) {
        RefuseAndThrow({503, "busy", "another request of this name is under way"});
    }
    kos::EndAfter(demands.seconds);
}

void WebMan::State::TakeLock()
{
    switch (host::TakeLock(host::kLockPatience)) {
        case host::LockResult::kHeld:
            return;
        case host::LockResult::kBusy:
            RefuseAndThrow({503, "busy", "another change is under way"});
        case host::LockResult::kFailed:
            break;
    }
    RefuseAndThrow({503, "unavailable", "the lock cannot be used"});
}

/// Refuses the request while a change waits to be confirmed.
void WebMan::State::WantConfirmation()
{
    if (host::Succeeded(host::NothingIsUnconfirmed())) return;
    RefuseAndThrow({503, "unconfirmed", "a change waits to be confirmed"});
}

WebMan::WebMan()
{
    kos::PrepareProcess();
    state_ = std::make_unique<State>(nullptr);
}

WebMan::WebMan(const RequestRules& rules)
{
    kos::PrepareProcess();
    state_ = std::make_unique<State>(&rules);
}

WebMan::~WebMan()
{
    state_->Audit("no answer", "");
    state_->WriteHeldHead({});
}

// Arguments are ignored: there is one privilege, administration, and one caller.
bool WebMan::IsAuthorized(const char* /*user*/, int /*privilege*/, int /*position*/)
{
    const std::optional<Refusal> refusal =
        kos::JudgeRequest(state_->request, state_->Demands().proof, state_->goodQuery);
    if (refusal) {
        state_->Refuse(*refusal);
        return false;
    }
    if (IsUploadRequest()) kos::RemoveStaleStaging();
    return true;
}

bool WebMan::IsUploadRequest()
{
    return state_->request.body.kind == BodyKind::kUpload;
}

bool WebMan::LoadIn()
{
    if (IsUploadRequest()) return LoadIn(nullptr);
    if (state_->loaded) return true;

    if (state_->request.body.kind == BodyKind::kJson) state_->LoadJson();
    if (state_->request.body.kind == BodyKind::kForm) state_->LoadForm();
    state_->Begin();
    return true;
}

bool WebMan::LoadIn(const char* directory)
{
    if (!IsUploadRequest()) return LoadIn();
    if (state_->loaded) return true;

    if (!state_->LoadUpload(directory)) return false;
    state_->Begin();
    return true;
}

Json::Value* WebMan::In()
{
    return state_->json.get();
}

const char* WebMan::In(const char* name, const char* fallback)
{
    // Never a parameter of this name from the client, since the program opens and moves the file.
    if (std::string_view(name) == kUploadPath) {
        const bool stored = state_->upload && !state_->upload->path().empty();
        return stored ? state_->upload->path().c_str() : fallback;
    }
    const std::string* const value = state_->parameters.Find(name);
    return value != nullptr ? value->c_str() : fallback;
}

void WebMan::WriteHeader(const char* contentType)
{
    state_->body.Drain();  // an upload that was not read to its end
    const bool standard = contentType == nullptr || *contentType == '\0';
    state_->heldType = standard ? kos::kJsonType : contentType;
}

void WebMan::WriteBody(const Json::Value& body)
{
    const kos::Reasons reasons = kos::ReasonsOf(body, state_->Name());
    state_->Audit(kos::ResultOf(body), kos::InWords(reasons));
    state_->WriteHeldHead(reasons);
    kos::WriteJson(body);
}

void WebMan::WriteDownloadHeader(const std::string& name)
{
    state_->Audit("done", "");
    kos::WriteHead("application/octet-stream",
                   "Content-Disposition: attachment; filename=\"" + name + "\"\n");
    (void)fflush(stdout);
}

const char* WebMan::GetLoginUserName()
{
    return state_->request.user.empty() ? nullptr : state_->request.user.c_str();
}

const char* WebMan::GetUILanguage()
{
    if (state_->language.empty()) {
        state_->language =
            kos::ChooseLanguage(state_->parameters.Find("lang"), state_->request.cookies,
                                state_->request.acceptLanguage);
    }
    return state_->language.c_str();
}
