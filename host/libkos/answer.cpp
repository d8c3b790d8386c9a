// Output of answers. Writes to the C stream `stdout`.
#include "host/libkos/answer.h"

#include <json/writer.h>

#include <cstdio>
#include <string>

namespace kos {

void WriteHead(const char* contentType)
{
    (void)printf("Content-Type: %s\nCache-Control: no-store\nX-Content-Type-Options: nosniff\n\n",
                 contentType);
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
