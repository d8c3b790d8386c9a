// Spam rule sets, black and white lists, kept in memory.
#include "platform/mailvane/spam.h"

#include "tests/recording/lists.h"

using recording::Call;
using recording::CallOr;
using recording::TheWorld;

using recording::Line;
using recording::Words;

namespace {

Words Describe(const BlackWhite& entry)
{
    return {Line("{name", entry.name) + " " + Line("list", entry.blackWhite) + " " +
            Line("type", entry.type) + " " + Line("nameType", entry.nameType) + "}"};
}

Words Describe(const std::list<BlackWhite>& entries)
{
    return recording::ListWords(entries,
                                [](const BlackWhite& entry) { return Describe(entry).text; });
}

Words Describe(const BlackWhiteFilter& filter)
{
    return {Line("{start", filter.start) + " " + Line("limit", filter.limit) + " " +
            Line("list", filter.searchType) + " " + Line("type", filter.type) + " " +
            Line("columns", filter.columns) + " " + Line("key", filter.searchKey) + "}"};
}

void Remove(const BlackWhite& gone)
{
    TheWorld().blackWhite.remove_if([&gone](const BlackWhite& entry) {
        return entry.name == gone.name && entry.blackWhite == gone.blackWhite &&
               entry.type == gone.type && entry.nameType == gone.nameType;
    });
}

int SwitchRule(int result, const std::string& name, bool enabled)
{
    for (SpamRule& rule : TheWorld().spamRules) {
        if (result >= 0 && rule.name == name) rule.enabled = enabled;
    }
    return result;
}

}  // namespace

Spam::Spam() : state_(nullptr) {}

Spam::~Spam() {}

Spam* Spam::getInstance()
{
    static Spam instance;
    return Call("Spam::getInstance") < 0 ? nullptr : &instance;
}

std::list<SpamRule> Spam::getSpamRules()
{
    Call("Spam::getSpamRules");
    return TheWorld().spamRules;
}

int Spam::enableRule(const std::string& name)
{
    return SwitchRule(Call("Spam::enableRule", name), name, true);
}

int Spam::disableRule(const std::string& name)
{
    return SwitchRule(Call("Spam::disableRule", name), name, false);
}

int Spam::deleteRule(const std::string& name)
{
    const int result = Call("Spam::deleteRule", name);
    TheWorld().spamRules.remove_if(
        [&name, result](const SpamRule& rule) { return result >= 0 && rule.name == name; });
    return result;
}

bool Spam::isEnableSpamassassin() const
{
    return CallOr(TheWorld().spamAssassin ? 1 : 0, "Spam::isEnableSpamassassin") != 0;
}

std::string Spam::GetImportRulePath(const std::string& name)
{
    Call("Spam::GetImportRulePath", name);
    const auto path = TheWorld().rulePaths.find(name);
    return path == TheWorld().rulePaths.end() ? "" : path->second;
}

std::list<BlackWhite> Spam::getBlackWhiteList(const BlackWhiteFilter& filter)
{
    Call("Spam::getBlackWhiteList", Describe(filter));
    return TheWorld().blackWhite;
}

int Spam::countQueryData(const BlackWhiteFilter& filter)
{
    return CallOr(static_cast<int>(TheWorld().blackWhite.size()), "Spam::countQueryData",
                  Describe(filter));
}

int Spam::addBlackWhite(const BlackWhite& entry)
{
    const int result = Call("Spam::addBlackWhite", Describe(entry));
    if (result >= 0) TheWorld().blackWhite.push_back(entry);
    return result;
}

int Spam::deleteBlackWhite(const BlackWhite& entry)
{
    const int result = Call("Spam::deleteBlackWhite", Describe(entry));
    if (result >= 0) Remove(entry);
    return result;
}

int Spam::deleteBlackWhiteList(const std::list<BlackWhite>& entries)
{
    const int result = Call("Spam::deleteBlackWhiteList", Describe(entries));
    for (const BlackWhite& entry : entries) {
        if (result >= 0) Remove(entry);
    }
    return result;
}

int Spam::exportBlackWhite(BlackWhiteType type, const std::string& path)
{
    return recording::Export(Call("Spam::exportBlackWhite", type, path), path);
}

int Spam::importBlackWhite(BlackWhiteType type, const std::string& path)
{
    return Call("Spam::importBlackWhite", type, path);
}

int Spam::GenerateBlackWhite()
{
    return Call("Spam::GenerateBlackWhite");
}
