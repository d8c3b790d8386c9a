// Fuzz target: form uploads. The parts must not depend on how the bytes arrive.
#include "tests/fuzz/fuzz.h"
#include "tests/host/libkos/multipart_record.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view body = fuzz::Text(data, size);
    const std::string whole = ParseMultipart(body, size + 1);
    fuzz::Expect(whole != "parts in parts" && whole != "a part without end");
    fuzz::Expect(whole == ParseMultipart(body, 1));
    fuzz::Expect(whole == ParseMultipart(body, 2 + size % 13));
    return 0;
}
