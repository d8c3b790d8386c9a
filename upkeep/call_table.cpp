// The calls of the program: those that tell something, and those that do something.
#include "upkeep/call_table.h"

#include <algorithm>
#include <iterator>

#include "upkeep/about/about.h"
#include "upkeep/certificates/calls.h"
#include "upkeep/history/calls.h"
#include "upkeep/log_lines/calls.h"
#include "upkeep/mail_test/calls.h"
#include "upkeep/names/calls.h"
#include "upkeep/quarantine/calls.h"
#include "upkeep/queue/calls.h"
#include "upkeep/report/calls.h"
#include "upkeep/users/calls.h"

namespace upkeep {

namespace {

constexpr unsigned kSeconds = 20;  // for a call that waits for no other

/// Tells what is there. It takes little of the machine.
constexpr RequestDemands Tells()
{
    RequestDemands demands;
    demands.seconds = kSeconds;
    return demands;
}

/// Tells what people write to each other: it is audited who has looked.
constexpr RequestDemands Shows()
{
    RequestDemands demands = Tells();
    demands.changes = true;
    return demands;
}

/// Asks programs, or machines elsewhere, and changes nothing that is stored.
constexpr RequestDemands Asks()
{
    RequestDemands demands = Tells();
    demands.proof = true;
    demands.alone = true;
    return demands;
}

/// Does something that is no part of what is stored: with mail, or by the daemons.
constexpr RequestDemands Does()
{
    RequestDemands demands = Asks();
    demands.changes = true;
    return demands;
}

/// Changes what is stored or in force.
constexpr RequestDemands Stores()
{
    RequestDemands demands;
    demands.changes = true;
    demands.proof = true;
    demands.lock = true;
    return demands;
}

/// Settles a change that waits to be confirmed.
constexpr RequestDemands Settles()
{
    RequestDemands demands = Stores();
    demands.settles = true;
    return demands;
}

constexpr Call kReads[] = {
    {"about", About, Tells()},
    {"dkim_list", DkimList, Tells()},
    {"dns_check", DnsCheck, Asks()},
    {"dns_records", DnsRecordsToPublish, Tells()},
    {"generations", Generations, Tells()},
    {"log_lines", LogLines, Tells()},
    {"progress", Progress, Tells()},
    {"quarantine_list", QuarantineList, Tells()},
    {"quarantine_raw", nullptr, Shows(), QuarantineRaw},
    {"quarantine_text", QuarantineText, Shows()},
    {"queue_list", QueueList, Tells()},
    {"queue_message", QueueMessage, Tells()},
    {"tls_show", TlsShow, Tells()},
    {"user_list", UserList, Tells()},
    {"user_show", UserShow, Tells()},
};

constexpr Call kChanges[] = {
    {"confirm", Confirm, Settles()},
    {"mail_test", MailTest, Does()},
    {"own_password", OwnPassword, Stores()},
    {"quarantine_delete", QuarantineDelete, Does()},
    {"quarantine_learn", QuarantineLearn, Does()},
    {"quarantine_release", QuarantineRelease, Does()},
    {"queue_delete", QueueDelete, Does()},
    {"queue_flush", QueueFlush, Does()},
    {"queue_hold", QueueHold, Does()},
    {"queue_release", QueueRelease, Does()},
    {"relay_test", RelayTest, Asks()},
    {"report_now", ReportNow, Does()},
    {"rollback", RollBack, Stores()},
    {"take_back", TakeBack, Settles()},
    {"tls_install", TlsInstall, Stores()},
    {"tls_remove", TlsRemove, Stores()},
    {"user_add", UserAdd, Stores()},
    {"user_password", UserPassword, Stores()},
    {"user_remove", UserRemove, Stores()},
};

template <std::size_t size>
const Call* Find(const Call (&table)[size], const std::string& name)
{
    const auto* const found = std::find_if(std::begin(table), std::end(table),
                                           [&](const Call& call) { return call.name == name; });
    return found != std::end(table) ? found : nullptr;
}

}  // namespace

const Call* FindRead(const std::string& name)
{
    return Find(kReads, name);
}

const Call* FindChange(const std::string& name)
{
    return Find(kChanges, name);
}

const char* CallRules::NameMember() const
{
    return kCallMember;
}

RequestDemands CallRules::DemandsOf(const std::string& name, bool hasBody) const
{
    const Call* const call = hasBody ? FindChange(name) : FindRead(name);
    return call != nullptr ? call->demands : RequestDemands();
}

}  // namespace upkeep
