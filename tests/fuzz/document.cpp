// Fuzz target: documents in YAML. What a document has of a text is read as that text again,
// wherever it stands.
#include <variant>

#include "host/libhaldcore/utf8.h"
#include "tests/fuzz/fuzz.h"
#include "tools/document/overlays.h"
#include "tools/document/yaml_reader.h"
#include "tools/document/yaml_text.h"

namespace {

/// The only text of a document.
std::string TextIn(const std::string& yaml)
{
    const auto read = document::ReadYaml(yaml);
    const auto* const top = std::get_if<document::Node>(&read);
    fuzz::Expect(top != nullptr && top->members.size() == 1);
    const document::Node& value = top->members.front().second;
    return value.kind == document::Node::Kind::kList ? value.items.at(0).text : value.text;
}

void TryText(const std::string& text)
{
    if (!host::IsUtf8(text) || text.find('\0') != std::string::npos) return;
    fuzz::Expect(TextIn("a:\n- " + document::Quoted(text) + "\n") == text);
    fuzz::Expect(TextIn("a:" + document::Valued(text, 2)) == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(fuzz::Text(data, size));
    document::Faults faults;
    (void)document::ReadLaidOver({text, text}, faults);
    fuzz::Expect(faults.size() % 2 == 0);
    for (std::size_t number = 0; number < faults.size() / 2; ++number) {
        const document::Place one = document::PlaceOf({text, text}, faults[number].line);
        const document::Place other =
            document::PlaceOf({text, text}, faults[number + faults.size() / 2].line);
        fuzz::Expect(one.file == 0 && other.file == 1 && one.line == other.line && one.line > 0);
    }
    TryText(text);
    return 0;
}
