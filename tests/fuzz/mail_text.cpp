// Fuzz target: mail that was kept. What is shown of it is bounded and changes nothing around it.
#include "host/libhaldcore/text.h"
#include "host/libhaldcore/utf8.h"
#include "tests/fuzz/fuzz.h"
#include "upkeep/mail_text/mail_parser.h"

namespace {

using namespace upkeep;

bool IsShown(const std::string& text)
{
    for (const char c : text) {
        if (host::IsControl(c)) return false;
    }
    return host::IsUtf8(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    MailParser parser;
    std::string_view rest = fuzz::Text(data, size);
    while (!rest.empty()) parser.Add(fuzz::Cut(rest, '\n'));
    const MailText mail = parser.Finish(false);

    std::size_t bytes = mail.text.size();
    for (const HeaderField& field : mail.headers) {
        fuzz::Expect(IsShown(field.name) && IsShown(field.value));
        bytes += field.name.size() + field.value.size();
    }
    for (const OtherPart& part : mail.parts) {
        fuzz::Expect(IsShown(part.type) && IsShown(part.name));
        bytes += part.type.size() + part.name.size();
    }
    std::string_view lines = mail.text;
    while (!lines.empty()) fuzz::Expect(IsShown(fuzz::Cut(lines, '\n')));
    fuzz::Expect(bytes < (std::size_t{256} << 10));
    fuzz::Expect(mail.parts.size() <= mail.partCount && mail.partCount <= size + 1);
    return 0;
}
