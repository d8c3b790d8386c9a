// What other files of the package say about daemons, held against their table.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/selfcheck/self_check.h"

namespace {

using host::daemons::Daemon;
using host::daemons::kDaemons;

std::string Text(const std::string& name)
{
    std::ifstream file(MAILVANE_SOURCE "/" + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

bool Has(const std::string& text, const std::string& line)
{
    return text.find("\n" + line + "\n") != std::string::npos;
}

std::string Bin(const std::string& words)
{
    return "/var/packages/Mailvane/target/bin/hald_service " + words;
}

TEST(DaemonTable, UnitsStartWhatItSays)
{
    for (const Daemon& daemon : kDaemons) {
        const std::string unit(daemon.unit);
        const bool isOurs = unit.rfind("mailvane-", 0) == 0;
        const std::string text = Text(isOurs ? "packaging/systemd/" + unit
                                             : "packaging/systemd/overrides/" + unit + ".conf");
        ASSERT_NE(text, "") << unit;
        const std::string name(daemon.name);
        if (name == "gate") {
            // The second program only where the package that calls it is installed.
            const std::string gate =
                "ExecStart=/usr/sbin/fcgiwrap -c 16 -p "
                "/var/packages/Mailvane/target/ui/mailvane.cgi";
            const std::string more = Text("packaging/systemd/mailvane-gate.service.d/console.conf");
            EXPECT_TRUE(Has(text, gate));
            EXPECT_TRUE(Has(more, gate + " -p /var/packages/Mailvane/target/ui/upkeep.cgi"));
            continue;
        }
        EXPECT_EQ(Has(text, "ExecStart=" + Bin(name + " launch")), isOurs) << unit;
        if (!daemon.switches.empty()) {
            EXPECT_TRUE(Has(text, "ExecCondition=" + Bin(name + " wanted"))) << unit;
        }
        EXPECT_EQ(Has(text, "PIDFile=" + std::string(daemon.pidFile)), isOurs || name == "postfix");
    }
}

// Units of the machine's own packages are handed over; they get their drop-ins in this order.
TEST(DaemonTable, SetupHandsItsUnitsOver)
{
    std::string dropIns;
    const std::string text = Text("tools/mailvane/setup/units.py");
    const std::string mail = text.substr(std::min(text.find("\nMAIL = ("), text.size()));
    const std::string units = mail.substr(0, mail.find(')'));
    for (const Daemon& daemon : kDaemons) {
        const std::string unit(daemon.unit);
        if (unit.rfind("mailvane-", 0) == 0) continue;
        dropIns += (dropIns.empty() ? "\"" : ", \"") + unit + "\"";
        for (const std::string& name : {unit, std::string(daemon.bootUnit)}) {
            EXPECT_NE(units.find(name.empty() ? "" : "\"" + name + "\""), std::string::npos)
                << name;
        }
    }
    EXPECT_NE(text.find("\nDROP_INS = (" + dropIns + ")"), std::string::npos) << dropIns;
}

TEST(DaemonTable, FilesHaveTheOwnersThatItSays)
{
    std::set<std::string> rows;
    std::istringstream lines(Text("packaging/machine/file_modes"));
    for (std::string line; std::getline(lines, line);) {
        std::string path, owner, group;
        if (std::istringstream(line) >> path >> owner >> group) {
            rows.insert(path + " " + owner + " " + group);
        }
    }
    for (const Daemon& daemon : kDaemons) {
        if (daemon.socket.empty()) continue;
        const std::string socket(daemon.socket);
        const std::string owners = " " + std::string(daemon.user) + " " + std::string(daemon.group);
        const std::size_t links = rows.count(socket + " root " + std::string(daemon.group));
        EXPECT_EQ(rows.count(socket + (links == 0 ? "" : ".*") + owners), 1U) << socket;
        EXPECT_EQ(rows.count(socket.substr(0, socket.rfind('/') + 1) + owners), 1U) << socket;
    }
}

TEST(DaemonTable, EachDaemonThatServesMailIsChecked)
{
    for (const Daemon& daemon : kDaemons) {
        if (daemon.switches.empty()) continue;
        int found = 0;
        for (const host::selfcheck::Check& check : host::selfcheck::AllChecks())
            found += check.key == daemon.check;
        EXPECT_EQ(found, 1) << daemon.name;
    }
}

TEST(DaemonTable, StepsOfPlansHaveItsLabels)
{
    const std::string text = Text("frame/save_steps.cpp");
    const std::regex label("\"([^\"]+ service)\"");
    std::set<std::string_view> known;
    for (const Daemon& daemon : kDaemons) known.insert(daemon.label);
    const auto begin = std::sregex_iterator(text.begin(), text.end(), label);
    EXPECT_GE(std::distance(begin, std::sregex_iterator()), 7);
    for (auto found = begin; found != std::sregex_iterator(); ++found) {
        EXPECT_EQ(known.count((*found)[1].str()), 1U) << (*found)[1];
    }
}

}  // namespace
