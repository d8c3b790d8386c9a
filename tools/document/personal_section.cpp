// The section of the users' forwarding and automatic replies: the members that their stored files
// have, except the number of the account.
#include <json/json.h>
#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <memory>

#include "host/libhaldcore/files.h"
#include "host/libmailvane/names/domains.h"
#include "host/libmailvane/pages/staged_state.h"
#include "host/libmailvane/stores/personal_settings.h"
#include "host/libmailvane/system/mail_account.h"
#include "tools/document/section.h"
#include "tools/document/yaml_text.h"

namespace document {

namespace {

namespace fs = std::filesystem;
using host::Reason;
using host::ReasonCode;
using host::Result;
using host::stores::PersonalSettings;
using host::system::MailAccount;

constexpr char kUid[] = "uid";
constexpr char kNameEnd[] = ".json";

Json::Value Parsed(const std::string& text)
{
    Json::Value json;
    std::string errors;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (!reader->parse(text.data(), text.data() + text.size(), &json, &errors)) return {};
    return json;
}

std::string FileOf(const State& state, const std::string& user)
{
    return state.folder + "/personal/" + user + kNameEnd;
}

/// What is stored of an account; the defaults when there is nothing, or that of another account
/// that had the name.
Json::Value StoredOf(const State& state, const MailAccount& account)
{
    std::string text;
    if (host::ReadFile(FileOf(state, account.name), text)) {
        Json::Value stored = Parsed(text);
        if (stored.isObject() && stored[kUid].isUInt64() &&
            stored[kUid].asUInt64() == account.uid) {
            return stored;
        }
    }
    return Parsed(host::stores::PersonalText(account, {}));
}

/// A value of any kind behind its colon, with its end.
std::string Yaml(const Json::Value& value, int depth)
{
    const std::string margin(static_cast<std::size_t>(depth), ' ');
    if (value.isBool()) return value.asBool() ? " true\n" : " false\n";
    if (value.isInt64()) return " " + std::to_string(value.asInt64()) + "\n";
    if (value.isString()) return Valued(value.asString(), depth);
    if (value.empty()) return value.isArray() ? " []\n" : " {}\n";
    std::string text = "\n";
    for (const std::string& name :
         value.isObject() ? value.getMemberNames() : Json::Value::Members()) {
        text += margin + name + ":" + Yaml(value[name], depth + 2);
    }
    for (Json::ArrayIndex index = 0; value.isArray() && index < value.size(); ++index) {
        const std::string item = Yaml(value[index], depth + 2);
        // The first member stands behind the hyphen.
        text += margin + "- " + item.substr(1 + margin.size() + 2);
    }
    return text;
}

/// An entry of the list of replies, with all members that one has.
Json::Value EmptyReply()
{
    PersonalSettings settings;
    settings.senderReplies.emplace_back();
    return Parsed(host::stores::PersonalText({}, settings))["sender_replies"][0];
}

/// Puts what the document says over what is stored.
class Overlay {
public:
    Overlay(const Section& section, Merge& merge) : section_(section), merge_(merge) {}

    void Put(const Node& node, const std::string& path, Json::Value& value)
    {
        if (value.isObject()) return PutMembers(node, path, value);
        if (value.isArray()) return PutReplies(node, path, value);
        if (node.kind != Node::Kind::kText) return Refuse(node, path, ReasonCode::kBadFormat);
        if (value.isString()) {
            value = node.text;
        } else if (value.isBool()) {
            const std::string text = Switch(node.text);
            if (text != "yes" && text != "no") return Refuse(node, path, ReasonCode::kNoChoice);
            value = text == "yes";
        } else {
            std::int64_t number = 0;
            const char* const end = node.text.data() + node.text.size();
            const auto [rest, error] = std::from_chars(node.text.data(), end, number);
            if (error != std::errc() || rest != end) {
                return Refuse(node, path, ReasonCode::kOutOfRange);
            }
            value = Json::Int64{number};
        }
    }

private:
    void PutMembers(const Node& node, const std::string& path, Json::Value& value)
    {
        if (node.kind != Node::Kind::kMap) return Refuse(node, path, ReasonCode::kBadFormat);
        for (const auto& [name, member] : node.members) {
            const std::string inner = std::string(path).append(".").append(name.text);
            if (value.isMember(name.text) && name.text != kUid) {
                Put(member, inner, value[name.text]);
            } else {
                Refuse(name, inner, ReasonCode::kMissing);
            }
        }
    }

    void PutReplies(const Node& node, const std::string& path, Json::Value& value)
    {
        if (node.kind != Node::Kind::kList && !node.isNothing) {
            return Refuse(node, path, ReasonCode::kBadFormat);
        }
        value = Json::Value(Json::arrayValue);
        for (const Node& item : node.items) {
            Json::Value reply = EmptyReply();
            PutMembers(item, path, reply);
            value.append(reply);
        }
    }

    void Refuse(const Node& node, const std::string& path, ReasonCode code)
    {
        merge_.faults.push_back({node.line, PathOf(section_, path), code, ""});
    }

    const Section& section_;
    Merge& merge_;
};

/// The settings with names as they are stored.
Result<std::string> StorableText(const MailAccount& account, const Json::Value& json)
{
    auto settings =
        host::stores::ParsePersonalSettings(Json::writeString(Json::StreamWriterBuilder(), json));
    if (!settings) return std::move(settings).reason();
    settings->forwardAddress = host::names::WithALabels(settings->forwardAddress);
    for (auto& reply : settings->senderReplies) {
        reply.sender = host::names::WithALabels(reply.sender);
    }
    return host::stores::PersonalText(account, *settings);
}

void MergeUser(const Section& section, const Node& name, const Node& said, Merge& merge)
{
    const std::size_t faults = merge.faults.size();
    const auto account = host::system::FindMailAccount(name.text);
    if (!account) {
        merge.faults.push_back(FaultAt(name.line, PathOf(section, name.text), account.reason()));
        return;
    }
    Json::Value json = StoredOf(merge.state, *account);
    Overlay(section, merge).Put(said, name.text, json);
    if (merge.faults.size() != faults) return;

    Result<std::string> text = StorableText(*account, json);
    const std::string path = FileOf(merge.state, account->name);
    Result<void> done = text ? Result<void>() : text.reason();
    if (done && !host::ReplaceFile(path, *text, 0600)) done = host::SystemReason(path, path);
    if (done) done = host::pages::CheckPersonal(path, merge.state.settings);
    if (!done)
        merge.faults.push_back(FaultAt(name.line, PathOf(section, name.text), done.reason()));
}

/// The users of the files in a folder, in order.
std::set<std::string> UsersIn(const State& state)
{
    std::set<std::string> users;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(state.folder + "/personal", error)) {
        if (entry.path().extension() == kNameEnd) users.insert(entry.path().stem().string());
    }
    return users;
}

}  // namespace

Result<Entries> ReadPersonal(const Section& /*section*/, const State& state)
{
    Entries entries;
    for (const std::string& user : UsersIn(state)) {
        const auto account = host::system::FindMailAccount(user);
        if (!account && account.reason().code == ReasonCode::kMissing) continue;
        if (!account) return account.reason();
        Json::Value stored = StoredOf(state, *account);
        stored.removeMember(kUid);
        entries.push_back({user, Yaml(stored, 4), "", ""});
    }
    return entries;
}

Result<void> MergePersonal(const Section& section, const Node& node, Merge& merge)
{
    if (!IsMap(section, node, merge) && !node.isNothing) return {};
    for (const auto& [name, said] : node.members) MergeUser(section, name, said, merge);
    for (const std::string& user : UsersIn(merge.state)) {
        if (merge.prunes && node.Find(user) == nullptr) {
            (void)unlink(FileOf(merge.state, user).c_str());
        }
    }
    return {};
}

}  // namespace document
