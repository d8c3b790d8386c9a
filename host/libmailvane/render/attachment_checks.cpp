// The files made from the refused attachment types. The mail server picks the headers that can hold
// the name of an attachment and asks hald_attachment_names about them; the scanner checks names
// inside archives.
#include "host/libmailvane/render/lists.h"

#include <string>
#include <utility>

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
    std::string header =
        words.empty() ? "" : "/^(Content-(?:Disposition|Type):.*)/ " + words + "|${1}\n";
    return TextsOf(std::move(header), std::move(lines));
}

}  // namespace host::render
