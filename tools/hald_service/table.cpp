// The table of daemons as JSON, for programs in other languages. None of its texts needs escaping.
#include "tools/hald_service/table.h"

#include <cstdio>
#include <string>
#include <string_view>

#include "host/libmailvane/daemons/daemons.h"

namespace service {

namespace {

using host::daemons::Daemon;

std::string Quoted(std::string_view text)
{
    return '"' + std::string(text) + '"';
}

/// The words as a JSON list.
std::string List(std::string_view words)
{
    std::string text;
    while (!words.empty()) {
        if (!text.empty()) text += ", ";
        text += Quoted(host::daemons::NextWord(words));
    }
    return "[" + text + "]";
}

std::string Row(const Daemon& daemon)
{
    const std::pair<const char*, std::string_view> texts[] = {
        {"name", daemon.name},     {"service", daemon.service}, {"program", daemon.program},
        {"user", daemon.user},     {"group", daemon.group},     {"pid_file", daemon.pidFile},
        {"socket", daemon.socket}, {"unit", daemon.unit},       {"boot_unit", daemon.bootUnit},
        {"label", daemon.label},   {"check", daemon.check},
    };
    std::string row;
    for (const auto& [name, value] : texts) row += Quoted(name) + ": " + Quoted(value) + ", ";
    row += "\"command\": " + List(daemon.command) + ", \"switches\": " + List(daemon.switches);
    row += ", \"files\": " + List(daemon.files) + ", \"is_mail\": ";
    row += host::daemons::IsMail(daemon) ? "true" : "false";
    return "  {" + row + "}";
}

}  // namespace

int PrintTable()
{
    std::string text;
    for (const Daemon& daemon : host::daemons::kDaemons) {
        text += (text.empty() ? "" : ",\n") + Row(daemon);
    }
    return std::printf("{\"daemons\": [\n%s\n]}\n", text.c_str()) > 0 ? 0 : 1;
}

}  // namespace service
