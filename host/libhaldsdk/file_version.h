// Which version of a file was read, and whether that is still the one to go by.
#pragma once

#include <sys/stat.h>

#include <string>

namespace host {

/// While one lives, every file of accounts is looked at once, so that all that is asked is answered
/// as of one moment, and a file that is asked about thousands of accounts costs one look.
class AccountsOfOneMoment {
public:
    AccountsOfOneMoment();
    ~AccountsOfOneMoment();
    AccountsOfOneMoment(const AccountsOfOneMoment&) = delete;
    AccountsOfOneMoment& operator=(const AccountsOfOneMoment&) = delete;

    /// The number of the present moment; 0 outside of any.
    static unsigned Number();

private:
    unsigned outer_;
};

class FileVersion {
public:
    enum class Look { kSame, kChanged, kMissing };

    /// Looks whether a file is still the one at which this was asked last; errno tells why it is
    /// missing.
    Look LookAt(const std::string& path);

    /// Has the next look find a change.
    void Forget() { stamp_ = Stamp(); }

private:
    struct Stamp {
        std::string path;
        dev_t device = 0;
        ino_t number = 0;
        off_t size = -1;
        timespec changed = {};

        bool operator==(const Stamp& other) const;
    };

    Stamp stamp_;
    unsigned moment_ = 0;  ///< of the last look
};

}  // namespace host
