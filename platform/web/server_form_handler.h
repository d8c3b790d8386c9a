// Base of a program that answers one form request. Provided by libkos.so.6.
#pragma once

#include "platform/web/web_man.h"

/// Owns the request object for the life of the request. The order of the virtual operations is
/// part of the binary interface.
class ServerFormHandler {
public:
    /// Both arguments select services of the framework that this package does not use; built with
    /// `(false, nullptr)`.
    ServerFormHandler(bool background, const char* name);
    ServerFormHandler(const ServerFormHandler&) = delete;
    ServerFormHandler& operator=(const ServerFormHandler&) = delete;

    virtual void Run() = 0;
    virtual void PreHook() = 0;
    virtual void PostHook() = 0;
    virtual ~ServerFormHandler() noexcept(false);

    /// Takes the request lock exclusively; 0, or negative when it is not had in time.
    virtual int ExLock();
    /// Takes the request lock shared; 0, or negative when it is not had in time.
    virtual int ShLock();

protected:
    WebMan web_;
};
