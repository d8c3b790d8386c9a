// Parameters of a request that are numbers.
#pragma once

#include "platform/web/web_man.h"

/// A number parameter in decimal; text without leading digits is 0. `fallback` is the text that
/// stands for an absent one.
long NumberParameter(WebMan& web, const char* name, const char* fallback);
