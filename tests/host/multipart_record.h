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
