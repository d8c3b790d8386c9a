// The table of lists: what has to hold in it, checked while it is compiled, and files by its rows.
#include "host/libmailvane/render/lists.h"

#include <utility>

#include "host/libmailvane/daemons/daemons.h"

namespace host::render {

namespace {

using daemons::HasWord;
using daemons::NextWord;

/// Whether words are one blank apart and start with no slash.
constexpr bool AreWords(std::string_view words)
{
    if (words.empty()) return true;
    for (std::string_view rest = words; !rest.empty();) {
        const std::string_view word = NextWord(rest);
        if (word.empty() || word.front() == '/') return false;
    }
    return words.back() != ' ';
}

constexpr bool IsWhole(const List& list)
{
    return AreWords(list.name) && list.name.find(' ') == std::string_view::npos &&
           AreWords(list.maps) && AreWords(list.files) &&
           (!list.maps.empty() || !list.files.empty());
}

constexpr bool ShareAWord(std::string_view words, std::string_view others)
{
    while (!words.empty()) {
        if (HasWord(others, NextWord(words))) return true;
    }
    return false;
}

constexpr bool AllAreWholeAndApart()
{
    for (const List& one : kLists) {
        if (!IsWhole(one) || FindList(one.name) != &one) return false;
        for (const List& other : kLists) {
            if (&one == &other) continue;
            if (ShareAWord(one.maps, other.maps) || ShareAWord(one.files, other.files))
                return false;
        }
    }
    return true;
}

static_assert(AllAreWholeAndApart(), "a row lacks something, or two make the same file");
static_assert(HasWord(kBlackWhiteList.files, generation::kBlackClientsFile) &&
                  HasWord(kAttachmentList.files, generation::kAttachmentChecksFile),
              "the mail server reads another file");

/// Files of these names with these texts. Names that are left over get an empty one.
void AddFiles(std::string_view names, bool areMaps, Texts& texts, std::size_t& next,
              std::vector<generation::ListFile>& files)
{
    while (!names.empty()) {
        files.push_back({std::string(NextWord(names)),
                         next < texts.size() ? std::move(texts[next]) : generation::LongText(),
                         areMaps});
        ++next;
    }
}

std::vector<generation::ListFile> FilesWith(const List& list, Texts texts, std::size_t& used)
{
    std::vector<generation::ListFile> files;
    AddFiles(list.maps, true, texts, used, files);
    AddFiles(list.files, false, texts, used, files);
    return files;
}

}  // namespace

Result<std::vector<generation::ListFile>> MakeFiles(const List& list, const ListSources& sources)
{
    ListTexts texts = list.make(sources);
    if (!texts) return std::move(texts).reason();

    const std::size_t made = texts->size();
    std::size_t used = 0;
    std::vector<generation::ListFile> files = FilesWith(list, *std::move(texts), used);
    if (used == made) return files;
    return Reason{ReasonCode::kSystem, std::string(list.name),
                  "the maker of a list and its row do not agree"};
}

std::vector<generation::ListFile> EmptyFiles(const List& list)
{
    std::size_t used = 0;
    return FilesWith(list, {}, used);
}

}  // namespace host::render
