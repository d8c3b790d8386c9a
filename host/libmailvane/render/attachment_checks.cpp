// The files made from the refused attachment types. The mail server picks the headers that can hold
// the name of an attachment and asks hald_attachment_names about them; the scanner checks names
// inside archives.
#include "host/libmailvane/render/lists.h"

namespace host::render {

ListTexts AttachmentTexts(const ListSources& sources)
{
    std::string words;
    std::string lines;
    for (const std::string& type : sources.types) {
        words += (words.empty() ? "" : " ") + type;
        lines += type + "\n";
    }
    // Without a type nobody is asked.
    const std::string header =
        words.empty() ? "" : "/^(Content-(?:Disposition|Type):.*)/ " + words + "|${1}\n";
    return std::vector<std::string>{header, lines};
}

}  // namespace host::render
