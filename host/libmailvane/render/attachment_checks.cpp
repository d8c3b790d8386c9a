// The checks of attachments' names. The mail server picks the headers that can hold one and asks
// hald_attachment_names about them; names inside archives are checked by the scanner.
#include "host/libmailvane/render/attachment_checks.h"

#include "host/libmailvane/generation/list_file.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/stores/attachment_types.h"

namespace host::render {

const char kAttachmentChecks[] =
    "pipemap:{pcre:${config_directory}/maps/attachment_checks, "
    "socketmap:unix:private/attachment-names:names}";

Result<std::vector<generation::ListFile>> AttachmentFiles()
{
    Result<std::vector<std::string>> types = stores::AttachmentTypes();
    if (!types) return std::move(types).reason();

    std::string lines;
    std::string words;
    for (const std::string& type : *types) {
        lines += type + "\n";
        words += (words.empty() ? "" : " ") + type;
    }
    // Without a type nobody is asked.
    const std::string header =
        words.empty() ? "" : "/^(Content-(?:Disposition|Type):.*)/ " + words + "|${1}\n";
    return std::vector<generation::ListFile>{{generation::kAttachmentChecksFile, header, false},
                                             {kBannedTypes, lines, false}};
}

void PutAttachmentFiles(generation::NextGeneration& next)
{
    Result<std::vector<generation::ListFile>> files =
        AttachmentFiles().Prefixed("attachment types: ");
    if (!files) {
        next.Fail(std::move(files).reason().Causing(kBannedTypes,
                                                    std::string("cannot make ") + kBannedTypes));
        return;
    }
    for (const generation::ListFile& file : *files) next.Put(file.name, file.text, 0644);
}

}  // namespace host::render
