// What the installed package says about itself. The hand-over is told by the manifest that
// mailvane-setup keeps in etc/adopted.
#include "upkeep/about/about.h"

#include <json/reader.h>

#include <filesystem>
#include <memory>
#include <system_error>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/text.h"
#include "host/libhaldcore/unconfirmed.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace upkeep {

namespace {

constexpr char kVersionFile[] = "target/share/mailvane/version";
constexpr char kManifest[] = "etc/adopted/manifest.json";
constexpr char kHandedOver[] = "adopted";
constexpr char kLocalTime[] = "/etc/localtime";
constexpr char kZones[] = "/zoneinfo/";

std::string Version()
{
    std::string text;
    (void)host::ReadFile(host::PackagePath(kVersionFile), text);
    return std::string(host::Trim(text));
}

/// The name of the machine's time zone; empty when it is in none that has one.
std::string Zone()
{
    std::error_code failed;
    const std::string file = std::filesystem::read_symlink(kLocalTime, failed).string();
    if (failed == std::errc::no_such_file_or_directory) return "UTC";

    const std::size_t place = file.find(kZones);
    return place == std::string::npos ? "" : file.substr(place + sizeof kZones - 1);
}

/// The manifest; null when nothing was handed over.
Json::Value HandOver()
{
    std::string text;
    if (!host::ReadFile(host::PackagePath(kManifest), text)) return {};

    Json::Value manifest;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    const bool parsed = reader->parse(text.data(), text.data() + text.size(), &manifest, nullptr);
    return parsed && manifest.isObject() ? manifest : Json::Value();
}

/// The change that waits to be confirmed; null when none does.
Json::Value Waiting()
{
    const auto change = host::FindUnconfirmedChange();
    if (!change) return {};

    Json::Value waiting;
    waiting["number"] = host::generation::NumberOf(change->generation);
    waiting["who"] = change->caller;
    waiting["until"] = static_cast<Json::Int64>(change->deadline.end.clock);
    return waiting;
}

}  // namespace

Answer About(const Request& request)
{
    host::Result<host::settings::StoredSettings> settings = host::settings::StoredSettings::Read();
    if (!settings) return std::move(settings).reason();

    const Json::Value handOver = HandOver();
    Json::Value answer;
    answer["caller"] = request.Caller();
    answer["version"] = Version();
    answer["host"] = settings->Text("smtp_hostname");
    answer["zone"] = Zone();
    answer["handed_over"] = handOver["state"] == Json::Value(kHandedOver);
    answer["since"] = handOver["since"].isString() ? handOver["since"] : Json::Value("");
    answer["unconfirmed"] = Waiting();
    return answer;
}

}  // namespace upkeep
