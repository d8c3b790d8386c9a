// Parameters of a request that are numbers.
#include "frame/number_parameter.h"

#include <cstdlib>

long NumberParameter(WebMan& web, const char* name, const char* fallback)
{
    return std::strtol(web.In(name, fallback), nullptr, 10);
}
