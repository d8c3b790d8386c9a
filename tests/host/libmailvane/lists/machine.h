// A machine with the account databases, and a file to import from and export to.
#pragma once

#include <string>

#include "host/libmailvane/generation/long_text.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/account_record.h"
#include "tests/host/machine.h"

class ListMachine : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        Write(host::PackagePath("etc/mailvane.conf"), "account_type=\"local\"\n");
        for (const auto which :
             {host::stores::AccountDatabase::kAlias, host::stores::AccountDatabase::kMailvane}) {
            const host::stores::AccountStore& store = host::stores::StoreOf(which);
            const std::string path = host::PackagePath(store.live);
            ASSERT_TRUE(host::stores::CreateAccountDatabase(path, store.schema, {"local", ""}));
            ASSERT_TRUE(host::stores::Stamp(path, store.schema, {"local", ""}));
        }
    }

    std::string File() const { return root + "/list"; }

    static std::string Whole(const host::generation::LongText& text)
    {
        std::string whole;
        const bool isRead = text.Each([&whole](std::string_view piece) {
            whole += piece;
            return true;
        });
        return isRead ? whole : "cannot be read";
    }
};
