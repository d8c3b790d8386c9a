// Fuzz target: form uploads. The parts must not depend on how the bytes arrive.
#include <cstdlib>

#include "host/libkos/multipart_parser.h"
#include "tests/host/fuzz_driver.h"

namespace {

struct Record final : kos::MultipartParser::Sink {
    void PartBegins(const std::string& field, bool file, const std::string& name) override
    {
        FuzzExpect(!open && ++parts <= kos::MultipartParser::kMaxParts);
        open = true;
        text += "<" + field + (file ? "|" + name : "") + ">";
    }
    void PartData(std::string_view data) override
    {
        FuzzExpect(open && !data.empty());
        received += data.size();
        text += data;
    }
    void PartEnds() override
    {
        FuzzExpect(open);
        open = false;
        text += "</>";
    }

    std::string text;
    std::size_t received = 0;
    int parts = 0;
    bool open = false;
};

struct Outcome {
    bool malformed = false;
    bool finished = false;
    std::string parts;  // of a finished body

    bool operator==(const Outcome& other) const
    {
        return malformed == other.malformed && finished == other.finished && parts == other.parts;
    }
};

Outcome Parse(std::string_view body, std::size_t step)
{
    Record record;
    kos::MultipartParser parser("XyZ", record);
    Outcome outcome;
    for (; !body.empty() && !outcome.malformed; body.remove_prefix(std::min(step, body.size()))) {
        outcome.malformed = !parser.Feed(body.substr(0, step));
    }
    outcome.finished = parser.Finished();
    if (outcome.finished) {
        FuzzExpect(!record.open);
        outcome.parts = record.text;
    }
    return outcome;
}

}  // namespace

void FuzzExpect(bool holds)
{
    if (!holds) std::abort();
}

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
    const Outcome whole = Parse(body, size + 1);
    FuzzExpect(whole == Parse(body, 1));
    FuzzExpect(whole == Parse(body, 2 + size % 13));
    return 0;
}
