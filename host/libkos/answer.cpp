// Output of answers. Writes to the C stream `stdout`.
#include "host/libkos/answer.h"

#include <json/writer.h>

#include <cstdio>

namespace kos {

void WriteHead(const std::string& contentType, const std::string& moreLine)
{
    (void)printf("Content-Type: %s\nCache-Control: no-store\nX-Content-Type-Options: nosniff\n%s\n",
                 contentType.c_str(), moreLine.c_str());
}

void WriteJson(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    std::string text = Json::writeString(builder, value);
    text += '\n';
    (void)fwrite(text.data(), 1, text.size(), stdout);
    (void)fflush(stdout);
}

}  // namespace kos
