// hald_mail_text: what stands in mail that was kept, for upkeep.cgi. It reads bytes of strangers,
// so it is run as a user without rights and gives up more itself.
//
//   hald_mail_text text <FILE                      what a message says, as JSON
//   hald_mail_text raw <FILE                       the message, unpacked
//   hald_mail_text heads FOLDER START COUNT <LIST  heads of messages, as JSON
//
// LIST: a line with what is searched for, in lower case, or nothing, and then names of files in
// FOLDER in the order that is wanted.
#include <fcntl.h>
#include <json/writer.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "host/libhaldcore/descriptor.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/text.h"
#include "host/libhaldcore/utf8.h"
#include "tools/attachment_names/decoding.h"
#include "upkeep/mail_text/charset.h"
#include "upkeep/mail_text/kept_file.h"
#include "upkeep/mail_text/mail_parser.h"

namespace {

using namespace upkeep;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kPatience{1500};
constexpr std::size_t kMostRecipients = 10;
constexpr std::size_t kLongestAddress = 320;
constexpr std::size_t kLongestSubject = 1000;
constexpr std::size_t kLongestScore = 20;

/// Lowers the limits of this process for good.
void Limit()
{
#if defined(__SANITIZE_ADDRESS__)
    constexpr rlim_t kAddressSpace = RLIM_INFINITY;
#else
    constexpr rlim_t kAddressSpace = rlim_t{128} << 20;
#endif
    constexpr rlim_t kSeconds = 3;
    constexpr rlim_t kFiles = 32;
    const std::pair<decltype(RLIMIT_CORE), rlim_t> limits[] = {
        {RLIMIT_CORE, 0},        {RLIMIT_CPU, kSeconds}, {RLIMIT_AS, kAddressSpace},
        {RLIMIT_NOFILE, kFiles}, {RLIMIT_NPROC, 0},      {RLIMIT_FSIZE, 0}};
    for (const auto& [resource, most] : limits) {
        const struct rlimit limit = {most, most};
        if (setrlimit(resource, &limit) < 0) std::exit(EXIT_FAILURE);
    }
}

void Print(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    builder["emitUTF8"] = true;
    std::cout << Json::writeString(builder, value) << '\n';
}

MailText ReadMail(KeptFile& file)
{
    const Clock::time_point end = Clock::now() + kPatience;
    MailParser parser;
    bool isLate = false;
    for (std::string line; !isLate && file.NextLine(line);) {
        parser.Add(line);
        isLate = Clock::now() > end;
    }
    return parser.Finish(isLate || file.cut());
}

int PrintText()
{
    KeptFile file(STDIN_FILENO);
    const MailText mail = ReadMail(file);
    Json::Value answer;
    answer["headers"] = answer["parts"] = Json::Value(Json::arrayValue);
    for (const HeaderField& field : mail.headers) {
        Json::Value header;
        header["name"] = field.name;
        header["value"] = field.value;
        answer["headers"].append(std::move(header));
    }
    for (const OtherPart& other : mail.parts) {
        Json::Value part;
        part["type"] = other.type;
        part["name"] = other.name;
        part["size"] = Json::UInt64{other.size};
        answer["parts"].append(std::move(part));
    }
    answer["text"] = mail.text;
    answer["part_count"] = Json::UInt64{mail.partCount};
    answer["cut"] = mail.cut;
    Print(answer);
    return EXIT_SUCCESS;
}

int PrintRaw()
{
    KeptFile file(STDIN_FILENO);
    for (std::string_view bytes = file.Next(); !bytes.empty(); bytes = file.Next()) {
        if (!host::WriteAll(STDOUT_FILENO, bytes)) return EXIT_FAILURE;
    }
    return file.cut() ? EXIT_FAILURE : EXIT_SUCCESS;
}

/// What a list shows of a message; null when its file has gone or is none.
Json::Value HeadOf(const std::string& folder, const std::string& name)
{
    host::Descriptor file(
        open((folder + "/" + name).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status;
    if (!file || fstat(file.get(), &status) < 0 || !S_ISREG(status.st_mode)) return {};

    KeptFile kept(file.Release());
    HeaderBlock header;
    for (std::string line; !header.cut() && kept.NextLine(line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (header.Add(line) != HeaderBlock::Line::kTaken) break;
    }
    const auto shown = [&](const char* field, std::size_t most) {
        const std::string value(header.Value(field));
        return host::ShownText(attachment_names::WordsDecoded(value, true, ToUtf8), most);
    };
    const auto address = [](std::string_view text) {
        const std::size_t first = std::min(text.find_first_not_of(" <"), text.size());
        const std::size_t last = text.find_last_not_of(" >");
        return host::ShownText(text.substr(first, last + 1 - first), kLongestAddress);
    };

    Json::Value head;
    head["id"] = name;
    head["sender"] = address(header.Value("x-envelope-from"));
    head["subject"] = shown("subject", kLongestSubject);
    head["score"] = shown("x-spam-score", kLongestScore);
    head["recipients"] = Json::Value(Json::arrayValue);
    Json::UInt64 count = 0;
    for (std::string_view rest = header.Value("x-envelope-to"); !rest.empty();) {
        const std::size_t comma = std::min(rest.find(','), rest.size());
        const std::string recipient = address(rest.substr(0, comma));
        rest.remove_prefix(std::min(comma + 1, rest.size()));
        if (recipient.empty() || count++ >= kMostRecipients) continue;
        head["recipients"].append(recipient);
    }
    head["recipient_count"] = count;
    return head;
}

bool Holds(const Json::Value& text, const std::string& wanted)
{
    return host::InLowerCase(text.asString()).find(wanted) != std::string::npos;
}

bool Matches(const Json::Value& head, const std::string& wanted)
{
    for (const char* member : {"id", "sender", "subject"}) {
        if (Holds(head[member], wanted)) return true;
    }
    for (const Json::Value& recipient : head["recipients"]) {
        if (Holds(recipient, wanted)) return true;
    }
    return false;
}

int PrintHeads(const std::string& folder, std::size_t start, std::size_t count)
{
    std::string wanted;
    std::getline(std::cin, wanted);
    Json::Value answer;
    answer["heads"] = Json::Value(Json::arrayValue);
    std::size_t found = 0;
    for (std::string name; std::getline(std::cin, name);) {
        Json::Value head = HeadOf(folder, name);
        if (head.isNull() || !Matches(head, wanted)) continue;
        if (found++ >= start && found <= start + count) answer["heads"].append(std::move(head));
    }
    answer["found"] = Json::UInt64{found};
    Print(answer);
    return EXIT_SUCCESS;
}

}  // namespace

int main(int count, char** arguments)
{
    Limit();
    const std::string mode = count > 1 ? arguments[1] : "";
    if (mode == "text") return PrintText();
    if (mode == "raw") return PrintRaw();
    if (mode != "heads" || count != 5) return EXIT_FAILURE;
    return PrintHeads(arguments[2], std::strtoul(arguments[3], nullptr, 10),
                      std::strtoul(arguments[4], nullptr, 10));
}
