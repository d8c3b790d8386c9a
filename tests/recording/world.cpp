// The machine that the program runs on in a test.
#include "tests/recording/world.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>

#include "frame/service_control.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/mail_scanner.h"
#include "tests/recording/call.h"

namespace recording {

namespace {

bool Matches(const std::string& line, const std::string& call)
{
    return line.compare(0, call.size(), call) == 0 &&
           (line.size() == call.size() || line[call.size()] == ' ');
}

/// The file tree of a machine that was just installed.
void FillFiles(World& world)
{
    world.keyValueFiles["/etc/haldinfo.conf"] = {
        {"userHomeEnable", "yes"}, {"enableluserhome", "yes"}, {"enableduserhome", "yes"}};
    world.keyValueFiles["/usr/hald/etc/smb.conf"] = {{"realm", "CORP.EXAMPLE.COM"}};
    world.keyValueFiles["/var/packages/Mailvane/etc/mailvane.conf"] = {
        {"always_bcc", "archive@example.com"}};
    world.files["/var/packages/Mailvane/etc/alias.db"] = "aliases of local_example.com";
    world.files["/var/packages/Mailvane/etc/mailvane.db"] = "lists of local_example.com";
}

}  // namespace

World& TheWorld()
{
    static World world;
    return world;
}

void World::Reset()
{
    scripts_.clear();
    while (!accessObjects.empty()) delete *accessObjects.begin();
    static_cast<Machine&>(*this) = Machine();
    FillFiles(*this);
    request = Request();
    runSteps = false;
    journalAll = false;
    plan.clear();
    for (const auto& made : temporaryNames) unlinkat(AT_FDCWD, made.first.c_str(), 0);
    temporaryNames.clear();
    liveObjects = 0;
    lastError = 0;
    journal_.clear();
    log_.clear();
    lockCalls_ = 0;
}

void World::On(const std::string& call, Effect effect, int nth)
{
    scripts_.push_back({call, std::move(effect), nth, 0, false});
}

void World::Return(const std::string& call, int result, int nth)
{
    On(
        call, [result] { return result; }, nth);
}

void World::FailWith(const std::string& call, int error, int nth)
{
    On(
        call,
        [error] {
            errno = error;
            return -1;
        },
        nth);
}

std::string World::Calls() const { return Lines(journal_); }

bool World::HasCalled(const std::string& call) const
{
    const auto like = [&call](const std::string& line) { return Matches(line, call); };
    return std::any_of(journal_.begin(), journal_.end(), like);
}

bool World::LastCallIs(const std::string& call) const
{
    return !journal_.empty() && Matches(journal_.back(), call);
}

std::string World::TakeLog()
{
    if (log_.empty()) return "";

    std::string line = log_.front();
    log_.erase(log_.begin());
    return line;
}

void World::ExpectLog(const std::string& text)
{
    const std::string line = TakeLog();
    int number = 0;
    int length = 0;
    const int found = std::sscanf(line.c_str(), "mailvane:%d %n", &number, &length);
    EXPECT_TRUE(found == 1 && line.substr(static_cast<std::size_t>(length)) == text)
        << "got log line \"" << line << "\", want \"" << text << "\"";
}

void World::ExpectLog(int line, const std::string& text)
{
    EXPECT_EQ(TakeLog(), "mailvane:" + std::to_string(line) + " " + text);
}

void World::ExpectNothingLeft()
{
    for (const std::string& line : log_) ADD_FAILURE() << "unexpected log line: " << line;
    for (const Script& script : scripts_) {
        EXPECT_TRUE(script.used) << "no call met the script for: " << script.call;
    }
    EXPECT_EQ(lockCalls_, 0) << "the program must not touch the request lock";
    EXPECT_EQ(liveObjects, 0) << "lists, hashes or records that were not freed";
}

std::optional<int> World::Called(const std::string& line, bool detail)
{
    if (!detail || journalAll) journal_.push_back(line);
    if (Matches(line, "ServerFormHandler::ExLock") || Matches(line, "ServerFormHandler::ShLock")) {
        ++lockCalls_;
    }
    Effect effect;
    for (Script& script : scripts_) {
        if (!Matches(line, script.call)) continue;

        ++script.matches;
        if (script.nth != kEveryCall && script.nth != script.matches) continue;

        script.used = true;
        if (!effect) effect = script.effect;
    }
    if (!effect) return std::nullopt;

    return effect();
}

void World::Logged(int priority, const std::string& text)
{
    const bool asAgreed = priority == LOG_ERR;
    log_.push_back(asAgreed ? text : "<" + std::to_string(priority) + "> " + text);
    if (journalAll) journal_.push_back("syslog " + text.substr(text.find(' ') + 1));
}

bool World::Exists(const std::string& path) const
{
    return files.count(path) != 0 || keyValueFiles.count(path) != 0 || directories.count(path) != 0;
}

bool World::Move(const std::string& from, const std::string& to)
{
    if (auto file = files.extract(from)) {
        files[to] = file.mapped();
        return true;
    }
    if (auto file = keyValueFiles.extract(from)) {
        keyValueFiles[to] = file.mapped();
        return true;
    }
    return false;
}

std::string Lines(const std::vector<std::string>& lines)
{
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

std::string PlanText(const std::list<Callback>& steps)
{
    static const std::map<std::string, int (*)(const std::string&)> kFunctions = {
        {"postfix service", &Postfix::Service},
        {"dovecot service", &ImapPop3::Service},
        {"mailscanner service", &MailScanner::Service},
        {"MailScanner service", &MailScanner::Service},
        {"anti-virus service", &MailScanner::AntiVirusService},
        {"dkim service", &RunOpenDkimScript},
        {"dmarc service", &RunOpenDmarcScript},
        {"memcache service", &RunMemcachedScript},
        {"regenerate mailvane db setting", &RegenerateMapFiles},
        {"generate login map", &GenerateLoginMap},
        {"hup firewall", &HupFirewall},
        {"requeue hold", &RequeueHold},
    };
    std::string text;
    for (const Callback& step : steps) {
        const auto known = kFunctions.find(step.name);
        const bool asNamed = known != kFunctions.end() && known->second == step.func;
        if (!text.empty()) text += ", ";
        text += step.name + ":" + step.arg + (asNamed ? "" : "!");
    }
    return text;
}

std::string Word(const char* text) { return text == nullptr ? "null" : Word(std::string(text)); }

std::string Word(const std::string& text)
{
    const auto& names = TheWorld().temporaryNames;
    const auto temporary = names.find(text);
    if (temporary != names.end()) return temporary->second;

    return text.empty() || text.find(' ') != std::string::npos ? "\"" + text + "\"" : text;
}

std::string Word(const std::list<std::string>& texts)
{
    return ListWords(texts, [](const std::string& text) { return Word(text); }).text;
}

int Export(const std::string& path, int result)
{
    if (result >= 0) std::ofstream(path, std::ios::binary) << TheWorld().exportText;
    return result;
}

void CopyText(const std::string& text, char* buffer, int size)
{
    std::snprintf(buffer, static_cast<std::size_t>(size), "%s", text.c_str());
}

}  // namespace recording
