// Entries of the mail log as they are shown.
#include "maillog/log_rows.h"

#include <array>
#include <cstdio>
#include <ctime>

#include "platform/texts/localized_string_parser.h"

namespace {

constexpr char kTextFolder[] = "/var/packages/Mailvane/target/app/texts/";
constexpr double kKilobytesPerByte = 0.0009765625;

using TimeBuffer = std::array<char, 64>;

const char* StatusKey(int status)
{
    switch (status) {
        case MAIL_SEND:
            return "send";
        case MAIL_RECEIVE:
            return "receive";
        case MAIL_BOUNCE:
            return "bounce";
        case MAIL_RESEND:
            return "resend";
        default:
            return "unknow";  // Deliberate: spelled as in the text files.
    }
}

Json::Value Row(const MailLogInfo& entry, const Json::Value& texts)
{
    Json::Value row;
    row["message_id"] = entry.messageId;
    row["date"] = DateText(entry);
    row["time"] = TimeText(entry);
    row["size"] = SizeText(entry.sizeBytes);
    row["status"] = StatusText(texts, entry.status);
    row["mail_to"] = entry.mailTo;
    row["mail_from"] = entry.mailFrom;
    return row;
}

}  // namespace

Json::Value LoadTexts(const std::string& language)
{
    return HALD::HDX::LocalizedStringParser::ParseTexts(kTextFolder + language);
}

std::string LogText(const Json::Value& texts, const char* key)
{
    return texts["maillog"][key].asString();
}

std::string DateText(const MailLogInfo& entry)
{
    TimeBuffer text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &entry.time)};
}

std::string TimeText(const MailLogInfo& entry)
{
    TimeBuffer text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%X", &entry.time)};
}

std::string SizeText(std::uint32_t bytes)
{
    const auto kilobytes = static_cast<float>(bytes * kKilobytesPerByte);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", static_cast<double>(kilobytes));

    // Deliberate: cut, not rounded, also where a large number has an exponent ("1.0KB" of a
    // gigabyte): the columns of older exports stay comparable.
    std::string size = text.data();
    const auto point = size.find('.');
    if (point != std::string::npos) size.resize(point + 2);
    return size + "KB";
}

std::string StatusText(const Json::Value& texts, int status)
{
    return LogText(texts, StatusKey(status));
}

Json::Value LogRows(const std::vector<MailLogInfo>& entries, const Json::Value& texts)
{
    Json::Value rows(Json::arrayValue);
    for (const MailLogInfo& entry : entries) rows.append(Row(entry, texts));
    return rows;
}
