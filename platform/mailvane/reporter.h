// Settings of the daily report. Provided by libmailvane.so.
#pragma once

#include <string>

/// What forms show in place of the stored password, and send back to keep it: eight replacement
/// characters, which nobody types.
constexpr char kReportPasswordMask[] = "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD";

/// All operations report failures by exceptions derived from `std::exception`; int results are 0.
class Reporter {
public:
    struct Sender {
        Sender();
        Sender(const std::string& name, const std::string& mail);

        std::string name;
        std::string mail;
    };

    struct Time {
        Time();
        Time(unsigned int hours, unsigned int mins);

        unsigned int hours = 0;
        unsigned int mins = 0;
    };

    struct SMTP {
        std::string provider;
        std::string server;
        int port = 0;
        bool auth = false;
        std::string account;
        std::string password;
        bool secure = false;
    };

    /// The stored settings.
    static Reporter LoadSetting();

    Reporter(const Reporter& other);
    Reporter& operator=(const Reporter& other);
    ~Reporter();

    /// Stores the settings. A password that the request has not typed but kept belongs to the
    /// server that it was given for: with a login at another server, at another port or without TLS
    /// where there was TLS, that is a failure.
    int SaveSetting();

    bool IsEnabled() const;
    std::string GetRcpt() const;
    Sender GetSender() const;
    Time GetReportTime() const;
    SMTP GetSMTP() const;

    int SetEnable(bool enabled);
    int SetRcpt(const std::string& recipient);
    int SetSender(const Sender& sender);
    int SetTime(const Time& time);
    int SetSMTP(const SMTP& account);

private:
    Reporter();
    struct State;
    State* state_;  ///< owned
};
