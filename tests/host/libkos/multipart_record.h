// Writes down the parts of a multipart body.
#pragma once

#include <string>
#include <string_view>

#include "host/libkos/multipart_parser.h"

/// Each part as `<field>content</>`, a file as `<field|its name>content</>`.
struct MultipartRecord final : kos::MultipartParser::Sink {
    void PartBegins(const std::string& field, bool file, const std::string& name) override
    {
        text += "<" + field + (file ? "|" + name : "") + ">";
        ++open;
    }
    void PartData(std::string_view data) override { text += data; }
    void PartEnds() override
    {
        text += "</>";
        --open;
    }

    std::string text;
    int open = 0;  ///< parts that have begun and not ended
};

/// What the parser makes of a body fed in pieces of `step` bytes; "malformed" or "unfinished".
inline std::string ParseMultipart(std::string_view body, std::size_t step)
{
    MultipartRecord record;
    kos::MultipartParser parser("XyZ", record);
    for (std::size_t at = 0; at < body.size(); at += step) {
        if (!parser.Feed(body.substr(at, step))) return "malformed";
        if (record.open < 0 || record.open > 1) return "parts in parts";
    }
    if (!parser.Finished()) return "unfinished";
    return record.open == 0 ? record.text : "a part without end";
}
