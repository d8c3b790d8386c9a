// Modules of the C library's name service.
#pragma once

#include <string>

#include "host/libhaldsdk/account_engine.h"

namespace host {

/// The engine that asks the module of a service, each time. Fails when it is not installed.
Result<EnginePointer> NameServiceModule(const std::string& service);

}  // namespace host
