// Loads the module that reads certificates.
#include <dlfcn.h>

#include "upkeep/certificates/pem_reader.h"

namespace upkeep {

namespace {

constexpr char kModule[] = "libmailvane_pem.so";  // beside the package's libraries

}  // namespace

host::Result<const PemReader*> LoadPemReader()
{
    void* const module = dlopen(kModule, RTLD_NOW | RTLD_LOCAL);
    void* const symbol = module != nullptr ? dlsym(module, "MailvanePemReader") : nullptr;
    if (symbol != nullptr) return reinterpret_cast<decltype(&MailvanePemReader)>(symbol)();

    const char* const why = dlerror();
    return host::Reason{host::ReasonCode::kSystem, host::Subject::List("certificate"),
                        std::string("cannot load ") + (why != nullptr ? why : kModule)};
}

}  // namespace upkeep
