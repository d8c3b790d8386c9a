// Makes a mail-log database of many entries, as the collector would have stored them:
//
//   make-mail-log FILE ENTRIES
//
// The same number gives the same entries. They end at a fixed time and lie 25 seconds apart.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tools/maillog_collector/mail_store.h"

namespace {

constexpr std::int64_t kEnd = 1795000000;
constexpr std::int64_t kApart = 25;
constexpr int kBatch = 5000;

class Maker {
public:
    std::shared_ptr<collector::Mail> Make(std::int64_t number, std::int64_t date)
    {
        auto mail = std::make_shared<collector::Mail>();
        mail->key = "4" + std::to_string(number) + "z" + std::to_string(number % 977);
        mail->messageId = std::to_string(random_()) + "." + std::to_string(number) + "@client" +
                          std::to_string(Below(500)) + ".test";
        mail->from = Address("user", 3000);
        mail->size = 400 + static_cast<std::int64_t>(random_() % (1U << Below(22)));
        mail->recipients = 1;
        mail->date = date;
        collector::Recipient entry;
        entry.to = Address("box", 200);
        entry.status = StatusOf(Below(100));
        entry.countsAs = entry.status == MAIL_RESEND ? static_cast<int>(MAIL_SEND) : entry.status;
        mail->entries.push_back(std::move(entry));
        return mail;
    }

private:
    unsigned Below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }

    /// One address in 50,000 has a word that no other has.
    std::string Address(const char* name, unsigned count)
    {
        const char* word = Below(50000) == 0 ? "quixotic" : name;
        return word + std::to_string(Below(count)) + "@domain" + std::to_string(Below(60)) +
               ".test";
    }

    static int StatusOf(unsigned percent)
    {
        if (percent < 55) return MAIL_RECEIVE;
        if (percent < 90) return MAIL_SEND;
        return percent < 96 ? MAIL_BOUNCE : MAIL_RESEND;
    }

    std::mt19937 random_;  // NOLINT(cert-msc*): the same entries each time
};

void Make(const std::string& path, std::int64_t count)
{
    collector::MailStore store(path);
    Maker maker;
    std::vector<std::shared_ptr<collector::Mail>> mails;
    for (std::int64_t number = 0; number < count; ++number) {
        mails.push_back(maker.Make(number, kEnd - (count - number) * kApart));
        if (mails.size() < kBatch && number + 1 < count) continue;
        (void)store.Store(mails, {}, store.Position());
        mails.clear();
    }
}

}  // namespace

int main(int count, char** arguments)
{
    if (count != 3) {
        std::fprintf(stderr, "usage: make-mail-log FILE ENTRIES\n");
        return 2;
    }
    try {
        (void)::unlink(arguments[1]);
        Make(arguments[1], std::strtoll(arguments[2], nullptr, 10));
        return EXIT_SUCCESS;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "make-mail-log: %s\n", failure.what());
        return EXIT_FAILURE;
    }
}
