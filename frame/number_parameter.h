// Numeric parameters of a request.
#pragma once

#include "platform/web/web_man.h"

/// The value of a decimal parameter; 0 when it does not begin with digits. `fallback` is parsed
/// instead when the parameter is absent.
long NumberParameter(WebMan& web, const char* name, const char* fallback);
