// Change of the account source: each combination of account type and domain has aliases, lists and
// an always-BCC address of its own.
#pragma once

#include <json/value.h>

#include "platform/mailvane/postfix.h"

/// When the request asks for another account type or domain than the stored one, parks the data of
/// the stored combination and brings back what was parked under the requested one. 0, or -1 after
/// a failure, which is logged. Stores no setting.
int ChangeAccountDomain(const Json::Value& in, Postfix& postfix);
