// The account type of the mail server. Provided by libmailvane.so.
#pragma once

#include <string>

class SMTP {
public:
    SMTP();
    ~SMTP();
    SMTP(const SMTP&) = delete;
    SMTP& operator=(const SMTP&) = delete;

    /// Reads the settings; negative on failure.
    int load();
    /// "local", "ldap" or "win"; empty before a successful `load`.
    std::string getAccountType() const;

private:
    struct State;
    State* state_;  ///< owned
};
