// Change of the account combination: aliases, lists and the always-BCC address belong to account
// type and domain.
#pragma once

#include <json/value.h>

#include "platform/mailvane/postfix.h"

/// When the request has another account type or domain than the stored one, parks the data of the
/// stored combination and brings back what is parked under the requested one. 0, or -1 (logged) on
/// failure. Stores no setting.
int ChangeAccountDomain(const Json::Value& in, Postfix& postfix);
