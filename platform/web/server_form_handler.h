// Base of a program that answers one form request. Provided by libkos.so.6.
#pragma once

#include "platform/web/web_man.h"

/// Owns the request object during the request. The order of the virtual functions is part of the
/// binary interface.
class ServerFormHandler {
public:
    /// Both parameters select features that this package does not use; called with `(false,
    /// nullptr)`.
    ServerFormHandler(bool background, const char* name);
    ServerFormHandler(const ServerFormHandler&) = delete;
    ServerFormHandler& operator=(const ServerFormHandler&) = delete;

    virtual void Run() = 0;
    virtual void PreHook() = 0;
    virtual void PostHook() = 0;
    virtual ~ServerFormHandler() noexcept(false);

    /// Takes the request lock exclusively; 0, or negative when not obtained in time.
    virtual int ExLock();
    /// Takes the request lock shared; 0, or negative when not obtained in time.
    virtual int ShLock();

protected:
    WebMan web_;
};
