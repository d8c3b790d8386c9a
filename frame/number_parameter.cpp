// Parameters of a request that are numbers.
#include "frame/number_parameter.h"

#include <cstdlib>

long NumberParameter(WebMan& web, const char* name, const char* fallback)
{
    constexpr int kDecimal = 10;
    return std::strtol(web.In(name, fallback), nullptr, kDecimal);
}
