// Spam rule sets, black and white lists: changes are noted, not carried out.
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
    return Call("Spam::enableRule", name);
}

int Spam::disableRule(const std::string& name)
{
    return Call("Spam::disableRule", name);
}

int Spam::deleteRule(const std::string& name)
{
    return Call("Spam::deleteRule", name);
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
    return Call("Spam::addBlackWhite", Describe(entry));
}

int Spam::deleteBlackWhite(const BlackWhite& entry)
{
    return Call("Spam::deleteBlackWhite", Describe(entry));
}

int Spam::deleteBlackWhiteList(const std::list<BlackWhite>& entries)
{
    return Call("Spam::deleteBlackWhiteList", Describe(entries));
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
