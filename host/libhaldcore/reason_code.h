// The codes by which reasons of refusals and failures are told apart, and their words.
#pragma once

namespace host {

/// The kind of a refusal or failure. Clients are told its word; packaging/texts has a text for
/// each, and docs/openapi.yaml says which an action can give.
enum class ReasonCode {
    // A value that was given.
    kOutOfRange,  ///< a number that is too small or too large
    kTooLong,     ///< more bytes than are taken
    kTooShort,    ///< fewer characters than are needed
    kEmpty,       ///< nothing where something is needed
    kNotText,     ///< no UTF-8, or control characters
    kNoChoice,    ///< none of the few values that there are
    kBadFormat,   ///< of another form than the one that is needed
    kBlanks,      ///< blanks around it, which would be lost
    kNoAddress,   ///< no mail address
    kNoName,      ///< no name of its kind
    kWrongKind,   ///< a name of a kind that does not go with the list
    kTypeAgain,   ///< a stored password that must not go where it would go now
    kLoops,       ///< would send mail back to where it comes from
    kTooMany,     ///< more than are taken
    kGivenTwice,  ///< the same for two things that must differ
    kTaken,       ///< a name that is in use already
    kMissing,     ///< something that does not exist
    kNoMatch,     ///< does not belong to what it is given with
    kEncrypted,   ///< protected by a password that nobody can type
    kExpired,     ///< no longer valid
    kNotYet,      ///< not valid yet
    kRefused,     ///< an invalid value, in other ways
    // A line of a file.
    kNoEntry,  ///< does not have the form of an entry
    kNoRule,   ///< is no rule that is taken
    kUnsafe,   ///< would run a program or read a file
    // Daemons and accounts.
    kPortInUse,      ///< another program uses a port
    kHoldsPort,      ///< who that is
    kDaemonRefuses,  ///< a daemon rejects its files
    kDaemonIsDown,   ///< a daemon does not start, or does not answer
    kOutOfTime,      ///< took too long
    kBusy,           ///< used by another process at the moment
    kNotSetUp,       ///< the machine is not prepared for it
    kNoHomes,        ///< users without home directories
    kOff,            ///< switched off
    // What is stored.
    kDamaged,     ///< something that exists with invalid content
    kUnreadable,  ///< something that exists but cannot be read
    kNoSpace,     ///< the disk is full
    kSystem       ///< a system call failed in another way
};

/// The word of a code, of small letters and underscores.
const char* WordOf(ReasonCode code);

}  // namespace host
