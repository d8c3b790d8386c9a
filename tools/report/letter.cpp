// The report as a mail message: multipart/alternative, with base64 for everything that is not plain
// ASCII.
#include "tools/report/letter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include "host/libhaldcore/random_text.h"
#include "host/libhaldcore/text.h"

namespace report {

namespace {

constexpr std::size_t kLineBytes = 57;  // 76 characters of base64
constexpr std::size_t kWordBytes = 45;  // an encoded word has 75 characters at most

std::string Base64(const std::string& bytes)
{
    const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        unsigned group = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            const char byte = at + i < bytes.size() ? bytes[at + i] : '\0';
            group = group << 8U | static_cast<unsigned char>(byte);
        }
        for (unsigned i = 0; i < 4; ++i) text += digits[group >> (18U - 6U * i) & 63U];
    }
    const std::size_t missing = (3 - bytes.size() % 3) % 3;
    text.replace(text.size() - missing, missing, missing, '=');
    return text;
}

/// A text for a header: unchanged when it is ASCII letters, digits, blanks and `marks`, else as
/// encoded words (RFC 2047) that do not split characters.
std::string HeaderText(const std::string& text, const std::string& marks)
{
    const auto isPlain = [&marks](char c) {
        return host::IsLetterOrDigit(c) || c == ' ' || c == '-' ||
               marks.find(c) != std::string::npos;
    };
    if (std::all_of(text.begin(), text.end(), isPlain)) return text;

    std::string words;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t end = std::min(at + kWordBytes, text.size());
        while (end < text.size() && end > at + 1 &&
               (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80) {
            --end;
        }
        words += (words.empty() ? "=?UTF-8?B?" : "\r\n =?UTF-8?B?") +
                 Base64(text.substr(at, end - at)) + "?=";
        at = end;
    }
    return words;
}

std::string DateText(std::int64_t date)
{
    const auto seconds = static_cast<std::time_t>(date);
    std::tm parts{};
    std::array<char, 64> text{};
    (void)localtime_r(&seconds, &parts);
    (void)std::strftime(text.data(), text.size(), "%a, %d %b %Y %H:%M:%S %z", &parts);
    return text.data();
}

std::string Joined(const std::vector<std::string>& addresses)
{
    std::string joined;
    for (const std::string& address : addresses) {
        joined += (joined.empty() ? "<" : ",\r\n <") + address + '>';
    }
    return joined;
}

std::string Part(const std::string& boundary, const char* type, const std::string& text)
{
    std::string part = "--" + boundary + "\r\nContent-Type: " + type +
                       "; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n\r\n";
    for (std::size_t at = 0; at < text.size(); at += kLineBytes) {
        part += Base64(text.substr(at, kLineBytes)) + "\r\n";
    }
    return part;
}

}  // namespace

std::string MessageOf(const Letter& letter)
{
    const std::string id = host::RandomDigits();
    const std::string boundary = "report=_" + id;  // base64 has no underscore
    const std::string name = letter.fromName.empty() ? "" : HeaderText(letter.fromName, "") + ' ';
    return "Date: " + DateText(letter.date) + "\r\nFrom: " + name + '<' + letter.fromMail +
           ">\r\nTo: " + Joined(letter.to) + "\r\nSubject: " + HeaderText(letter.subject, ".,") +
           "\r\nMessage-ID: <report." + id + '@' + letter.host +
           ">\r\nAuto-Submitted: auto-generated\r\nMIME-Version: 1.0\r\n"
           "Content-Type: multipart/alternative; boundary=\"" +
           boundary + "\"\r\n\r\n" + Part(boundary, "text/plain", letter.plainText) +
           Part(boundary, "text/html", letter.html) + "--" + boundary + "--\r\n";
}

}  // namespace report
