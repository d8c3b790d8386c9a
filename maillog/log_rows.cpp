// Entries of the mail log as they are shown.
#include "maillog/log_rows.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>

#include "platform/texts/localized_string_parser.h"

namespace {

constexpr char kTextFolder[] = "/var/packages/Mailvane/target/app/texts/";
constexpr double kKilobytesPerByte = 0.0009765625;

using TimeBuffer = std::array<char, 64>;

// Deliberate: the key for any other status is spelled as in the text files.
constexpr std::array<const char*, 5> kStatusKeys = {"send", "receive", "bounce", "resend",
                                                    "unknow"};
static_assert(MAIL_SEND == 0 && MAIL_RECEIVE == 1 && MAIL_BOUNCE == 2 && MAIL_RESEND == 3);

Json::Value Row(const MailLogInfo& entry, const StatusTexts& statuses)
{
    Json::Value row;
    row["message_id"] = entry.messageId;
    row["date"] = DateText(entry);
    row["time"] = TimeText(entry);
    row["size"] = SizeText(entry.sizeBytes);
    row["status"] = statuses.Of(entry.status);
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
    constexpr int kDigits = 6;
    std::array<char, 32> text;
    const auto written = std::to_chars(text.data(), text.data() + text.size(), kilobytes,
                                       std::chars_format::general, kDigits);

    // Deliberate: cut, not rounded, also where a large number has an exponent ("1.0KB" of a
    // gigabyte): the columns of older exports stay comparable.
    std::string size(text.data(), written.ptr);
    const auto point = size.find('.');
    if (point != std::string::npos) size.resize(point + 2);
    return size + "KB";
}

StatusTexts::StatusTexts(const Json::Value& texts)
{
    std::transform(kStatusKeys.begin(), kStatusKeys.end(), texts_.begin(),
                   [&texts](const char* key) { return LogText(texts, key); });
}

const std::string& StatusTexts::Of(int status) const
{
    const bool known = status >= 0 && status < static_cast<int>(texts_.size()) - 1;
    return known ? texts_[static_cast<std::size_t>(status)] : texts_.back();
}

Json::Value LogRows(const std::vector<MailLogInfo>& entries, const Json::Value& texts)
{
    const StatusTexts statuses(texts);
    Json::Value rows(Json::arrayValue);
    for (const MailLogInfo& entry : entries) rows.append(Row(entry, statuses));
    return rows;
}
