// Fuzz target: form uploads. The parts must not depend on how the bytes arrive.
#include "tests/host/fuzz_driver.h"
#include "tests/host/libkos/multipart_record.h"

std::vector<std::string> FuzzSeeds()
{
    const std::string head = "--XyZ\r\nContent-Disposition: form-data; name=\"a\"";
    return {
        head + "\r\n\r\nvalue\r\n--XyZ--\r\n",
        head + "; filename=\"x\\\"y\"\r\nContent-Type: text/plain\r\n\r\n1\r\n--Xy\r\n--XyZ--\r\n",
        head + "\r\n\r\n\r\n" + head + "; filename*=UTF-8''x\r\n\r\n\r\n--XyZ \t--",
        "preamble\r\n" + head + "\r\n\r\n\r\n--XyZ--epilogue",
        "\r\n--XyZ\r\n\r\n\r\n--XyZ--",
        "\r\r\n\n--\r\n--X--XyZ;=\"\\\"",
    };
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view body(reinterpret_cast<const char*>(data), size);
    const std::string whole = ParseMultipart(body, size + 1);
    FuzzExpect(whole != "parts in parts" && whole != "a part without end");
    FuzzExpect(whole == ParseMultipart(body, 1));
    FuzzExpect(whole == ParseMultipart(body, 2 + size % 13));
    return 0;
}
