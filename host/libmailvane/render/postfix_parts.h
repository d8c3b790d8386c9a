// What the sources of Postfix's files share: the lines of main.cf, restriction lists, and what
// several files say of the same settings.
#pragma once

#include <map>
#include <string>

#include "host/libmailvane/render/context.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// The first lines of main.cf and master.cf.
inline constexpr char kPostfixHeader[] =
    "# Made by mailvane from its stored settings. Put what is your own into\n"
    "# /var/packages/Mailvane/etc/local.d/.\n";

/// The lines of main.cf in order, without parameters that the administrator's fragment sets.
class Parameters {
public:
    explicit Parameters(const std::string& fragment);

    void Add(const std::string& name, const std::string& value);

    /// Adds a parameter with a value that an administrator typed: `$` is a dollar sign in it.
    void AddTyped(const std::string& name, const std::string& value);

    /// The administrator's value of a parameter; empty when the fragment does not set it.
    std::string Own(const std::string& name) const;

    const std::string& text() const { return text_; }

private:
    std::map<std::string, std::string> own_;
    std::string text_;
};

/// A restriction list: items separated by commas.
class Restrictions {
public:
    Restrictions& Add(const std::string& item)
    {
        text_ += (text_.empty() ? "" : ", ") + item;
        return *this;
    }

    Restrictions& AddIf(bool wanted, const std::string& item) { return wanted ? Add(item) : *this; }

    const std::string& text() const { return text_; }

private:
    std::string text_;
};

/// A compiled map of the generation, as Postfix names it.
std::string Map(const std::string& name);

/// A table of another type that Postfix reads without compiling.
std::string Table(const char* type, const std::string& name);

const char* YesNo(bool flag);

/// Stands in main.cf, which everybody may read, for the address that gets a copy of all mail. A map
/// replaces it by that address.
inline constexpr char kAlwaysCopied[] = "always-copied@mailvane.invalid";

/// The name of the service that lists the queue. The mail commands of other users read the
/// distribution's configuration, where it has another name, and so do not reach it.
inline constexpr char kQueueService[] = "mailvane-showq";

/// The relay host in Postfix's syntax; brackets prevent a lookup of its MX.
std::string RelayHost(const settings::StoredSettings& settings);

/// Whether there is a port for mail of users alone.
bool HasSubmission(const settings::StoredSettings& settings);

/// Whether logins are accepted on the port for other servers. It allows old versions of TLS, which
/// do not protect a password, so logins are accepted there only on older installations, when
/// passwords in clear text are allowed, and when no submission port is on.
bool SmtpPortTakesLogins(const settings::StoredSettings& settings);

/// Adds the restriction lists: who may send what to whom.
void AddRestrictions(Parameters& main, const settings::StoredSettings& settings,
                     const RenderContext& context);

}  // namespace host::render
