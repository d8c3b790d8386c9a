// Service verbs: which control script each runs, and what becomes of its result.
#include "host/libhaldcore/files.h"
#include "host/libmailvane/service_control.h"
#include "platform/mailvane/imap_pop3.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"
#include "tests/host/machine.h"

namespace {

class Services : public Machine {
protected:
    /// Installs a script that notes its name and arguments and ends with `status`.
    void Install(const std::string& name, int status)
    {
        const std::string path = host::PackagePath("target/scripts/" + name);
        Write(path, "#!/bin/sh\necho \"${0##*/} $*\" >>" + root + "/ran\nexit " +
                        std::to_string(status) + "\n");
        ASSERT_EQ(0, ::chmod(path.c_str(), 0755));
    }

    std::string Ran() const { return Contents(root + "/ran"); }
};

TEST_F(Services, FailWithTheScriptAndRefuseOtherVerbs)
{
    Install("postfix.sh", 3);
    EXPECT_EQ(-1, Postfix::Service("restart"));
    EXPECT_EQ(-1, Postfix::Service("reload; halt"));
    EXPECT_EQ(-1, Postfix::Service(""));
    EXPECT_EQ("postfix.sh restart\n", Ran());
    EXPECT_EQ(-1, ImapPop3::Service("start")) << "there is no such script";
}

TEST_F(Services, AreOursOnceAMachineRunBySystemdIsHandedOver)
{
    EXPECT_TRUE(host::ServicesAreOurs());
    ASSERT_TRUE(host::MakeDirectories(host::Path("/run/systemd/system"), 0755));
    EXPECT_FALSE(host::ServicesAreOurs());
    ASSERT_TRUE(host::MakeDirectories(host::PackagePath("etc/adopted"), 0755));
    EXPECT_TRUE(host::ServicesAreOurs());
}

}  // namespace
