// Base of a program that answers one form request.
#include "platform/web/server_form_handler.h"

#include "host/libhaldcore/lock.h"

ServerFormHandler::ServerFormHandler(bool /*background*/, const char* /*name*/) {}

ServerFormHandler::~ServerFormHandler() noexcept(false) = default;

int ServerFormHandler::ExLock()
{
    return host::TakeLock(host::kLockPatience) == host::LockResult::kHeld ? 0 : -1;
}

// Readers take no lock: everything they read is replaced atomically or read in one transaction.
int ServerFormHandler::ShLock()
{
    return 0;
}
