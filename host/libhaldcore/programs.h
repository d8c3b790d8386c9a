// Paths of the programs that are run, as Debian installs them.
#pragma once

namespace host::programs {

constexpr char kAmavisd[] = "/usr/sbin/amavisd";
constexpr char kAmavisdRelease[] = "/usr/sbin/amavisd-release";
constexpr char kChpasswd[] = "/usr/sbin/chpasswd";
constexpr char kClamd[] = "/usr/sbin/clamd";
constexpr char kDoveadm[] = "/usr/bin/doveadm";
constexpr char kDoveconf[] = "/usr/bin/doveconf";
constexpr char kEnv[] = "/usr/bin/env";
constexpr char kFind[] = "/usr/bin/find";
constexpr char kFreshclam[] = "/usr/bin/freshclam";
constexpr char kNft[] = "/usr/sbin/nft";
constexpr char kOpenDkim[] = "/usr/sbin/opendkim";
constexpr char kOpenDmarc[] = "/usr/sbin/opendmarc";
constexpr char kOpenssl[] = "/usr/bin/openssl";
constexpr char kPostconf[] = "/usr/sbin/postconf";
constexpr char kPostfix[] = "/usr/sbin/postfix";
constexpr char kPostmap[] = "/usr/sbin/postmap";
constexpr char kPostqueue[] = "/usr/sbin/postqueue";
constexpr char kPostsuper[] = "/usr/sbin/postsuper";
constexpr char kPrlimit[] = "/usr/bin/prlimit";
constexpr char kSendmail[] = "/usr/sbin/sendmail";
constexpr char kSetpriv[] = "/usr/bin/setpriv";
constexpr char kSievec[] = "/usr/bin/sievec";
constexpr char kSpamassassin[] = "/usr/bin/spamassassin";
constexpr char kSystemctl[] = "/usr/bin/systemctl";
constexpr char kSystemdRun[] = "/usr/bin/systemd-run";
constexpr char kUseradd[] = "/usr/sbin/useradd";
constexpr char kUserdel[] = "/usr/sbin/userdel";
constexpr char kUsermod[] = "/usr/sbin/usermod";

}  // namespace host::programs
