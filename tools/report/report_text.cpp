// The pages that letters show, as text. Plain text and HTML are made from the same sections.
#include "tools/report/report_text.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "host/libmailvane/names/text_checks.h"

namespace report {

namespace {

using host::selfcheck::CheckWord;

const char* const kOutcomeNames[] = {"Sent", "Received", "Bounced"};

std::string SizeText(std::uint64_t bytes)
{
    if (bytes < 1024) return std::to_string(bytes) + " B";

    const char* const units[] = {"KiB", "MiB", "GiB", "TiB"};
    double size = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    for (; size >= 1024 && unit + 1 < std::size(units); ++unit) size /= 1024;
    std::array<char, 32> text{};
    (void)snprintf(text.data(), text.size(), "%.1f ", size);
    return text.data() + std::string(units[unit]);
}

/// "2026-11-21 08:00 +0100"; the day is in the first ten characters.
std::string TimeText(std::int64_t moment)
{
    const auto seconds = static_cast<std::time_t>(moment);
    std::tm parts{};
    std::array<char, 64> text{};
    (void)localtime_r(&seconds, &parts);
    (void)std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M %z", &parts);
    return text.data();
}

/// Foreign text, made safe to be shown.
std::string Shown(std::string text)
{
    if (host::names::IsPlainText(text)) return text;

    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < 0x20 || c > 0x7e; }, '?');
    return text;
}

std::vector<std::string> VolumeRow(const std::string& name, const Volume& volume)
{
    return {name, std::to_string(volume.messages),
            SizeText(static_cast<std::uint64_t>(std::max<std::int64_t>(volume.bytes, 0)))};
}

Section OutcomeSection(const Data& data)
{
    Section section{"Messages by outcome", {}, ""};
    if (!data.mail) {
        section.remark = "There is no mail log.";
        return section;
    }
    for (std::size_t i = 0; i < data.mail->byOutcome.size(); ++i) {
        section.rows.push_back(VolumeRow(kOutcomeNames[i], data.mail->byOutcome[i]));
    }
    section.rows.push_back(VolumeRow("Waiting", data.mail->waiting));
    section.rows.push_back(VolumeRow("Resent, of all but the waiting", data.mail->resent));
    return section;
}

Section RankSection(const char* title, const std::vector<Rank>& ranks)
{
    Section section{title, {}, ranks.empty() ? "None." : ""};
    for (const Rank& rank : ranks) {
        section.rows.push_back(
            VolumeRow(rank.address.empty() ? "<>" : Shown(rank.address), rank.volume));
    }
    return section;
}

Section ScanSection(const Data& data)
{
    if (!data.scans) return {"Viruses and spam", {}, "The scanner has no log."};
    return {"Viruses and spam",
            {{"Viruses found", std::to_string(data.scans->viruses)},
             {"Spam found", std::to_string(data.scans->spam)}},
            ""};
}

Section QueueSection(const Data& data)
{
    if (!data.queue) return {"Mail queue", {}, "The queue cannot be read."};
    const std::string least = data.queue->isWhole ? "" : "at least ";
    return {"Mail queue",
            {{"Messages in the queue", least + std::to_string(data.queue->waiting)},
             {"Waiting for another try", least + std::to_string(data.queue->deferred)},
             {"Age of the oldest", least + std::to_string(data.queue->oldest / 60) + " minutes"}},
            ""};
}

Section DiskSection(const Data& data)
{
    Section section{"Free space", {}, ""};
    for (const Disk& disk : data.disks) {
        section.rows.push_back(
            {disk.name, SizeText(disk.freeBytes) + " of " + SizeText(disk.totalBytes)});
    }
    return section;
}

std::vector<std::string> CheckRow(const host::selfcheck::CheckResult& check)
{
    return {check.key, host::selfcheck::Spelling(check.finding.word), Shown(check.finding.detail)};
}

Section CheckSection(const Data& data)
{
    Section section{"Self-check", {}, ""};
    if (data.checks.empty()) {
        section.remark = "The self-check could not be run.";
        return section;
    }
    for (const host::selfcheck::CheckResult& check : data.checks) {
        if (check.finding.word > CheckWord::kOk) section.rows.push_back(CheckRow(check));
    }
    section.remark = std::to_string(data.checks.size()) + " checks, " +
                     std::to_string(data.checks.size() - section.rows.size()) + " of them well.";
    return section;
}

std::vector<Section> Sections(const Data& data)
{
    std::vector<Section> sections{OutcomeSection(data)};
    if (data.mail) {
        sections.push_back(RankSection("Top senders", data.mail->senders));
        sections.push_back(RankSection("Top recipients", data.mail->recipients));
    }
    for (const auto& make : {ScanSection, QueueSection, DiskSection, CheckSection}) {
        sections.push_back(make(data));
    }
    return sections;
}

std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '&':
                escaped += "&amp;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

/// One line: the first column padded, then the others.
std::string PlainRow(const std::vector<std::string>& row)
{
    constexpr std::size_t kFirstColumn = 40;
    std::string line = "  " + row.front();
    if (line.size() < kFirstColumn) line.resize(kFirstColumn, ' ');
    for (std::size_t i = 1; i < row.size(); ++i) line += "  " + row[i];
    return line + '\n';
}

std::string HtmlRow(const std::vector<std::string>& row)
{
    std::string cells;
    for (const std::string& cell : row) cells += "<td>" + Escaped(cell) + "</td>";
    return "<tr>" + cells + "</tr>\n";
}

}  // namespace

Page PageOf(const Data& data)
{
    return {"Mail report of " + data.host + ", " + TimeText(data.period.end).substr(0, 10),
            "From " + TimeText(data.period.begin) + " to " + TimeText(data.period.end),
            Sections(data)};
}

Page PageOf(const CheckNews& news, const std::string& host)
{
    Page page;
    page.title = "Mail server " + host + ": ";
    page.title += news.turnedBad.empty()
                      ? "all is well again"
                      : std::to_string(news.turnedBad.size()) + " of its checks turned bad";
    page.introduction = news.turnedBad.empty()
                            ? "Every check that was told of is well again, or switched off."
                            : "`mailvanectl check` tells what to do.";
    const std::pair<const char*, const std::vector<host::selfcheck::CheckResult>*> parts[] = {
        {"Turned bad", &news.turnedBad}, {"Bad before", &news.badBefore}};
    for (const auto& [title, checks] : parts) {
        Section section{title, {}, ""};
        for (const auto& check : *checks) section.rows.push_back(CheckRow(check));
        if (!section.rows.empty()) page.sections.push_back(std::move(section));
    }
    return page;
}

std::string PlainText(const Page& page)
{
    std::string text = page.title + '\n' + page.introduction + '\n';
    for (const Section& section : page.sections) {
        text += '\n' + section.title + '\n';
        for (const auto& row : section.rows) text += PlainRow(row);
        if (!section.remark.empty()) text += "  " + section.remark + '\n';
    }
    return text;
}

std::string Html(const Page& page)
{
    std::string html = "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>" +
                       Escaped(page.title) + "</title></head><body>\n<h1>" + Escaped(page.title) +
                       "</h1>\n<p>" + Escaped(page.introduction) + "</p>\n";
    for (const Section& section : page.sections) {
        html += "<h2>" + section.title + "</h2>\n";
        if (!section.rows.empty()) {
            html += "<table>\n";
            for (const auto& row : section.rows) html += HtmlRow(row);
            html += "</table>\n";
        }
        if (!section.remark.empty()) html += "<p>" + section.remark + "</p>\n";
    }
    return html + "</body></html>\n";
}

}  // namespace report
