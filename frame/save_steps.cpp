// The steps of save plans.
#include "frame/save_steps.h"

#include "frame/service_control.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"

Callback PostfixStep(const std::string& verb)
{
    return {"postfix service", &Postfix::Service, verb};
}

Callback DovecotStep(const std::string& verb)
{
    return {"dovecot service", &ImapPop3::Service, verb};
}

Callback DkimStep(const std::string& verb)
{
    return {"dkim service", &RunOpenDkimScript, verb};
}

Callback DmarcStep(const std::string& verb)
{
    return {"dmarc service", &RunOpenDmarcScript, verb};
}

Callback MemcachedStep(const std::string& verb)
{
    return {"memcache service", &RunMemcachedScript, verb};
}

Callback ScannerStep(const std::string& verb)
{
    return {"mailscanner service", &MailScanner::Service, verb};
}

Callback AntiVirusStep(const std::string& verb)
{
    return {"anti-virus service", &MailScanner::AntiVirusService, verb};
}

Callback RequeueStep()
{
    return {"requeue hold", &RequeueHold, ""};
}

Callback MapsStep()
{
    return {"regenerate mailvane db setting", &RegenerateMapFiles, ""};
}

Callback LoginMapStep()
{
    return {"generate login map", &GenerateLoginMap, ""};
}

Callback FirewallStep()
{
    return {"hup firewall", &HupFirewall, ""};
}
