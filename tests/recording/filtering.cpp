// Spam rule sets, black and white lists: changes are noted, not carried out.
#include "platform/mailvane/spam.h"

#include "tests/recording/call.h"

using namespace recording;

namespace {

Words Describe(const BlackWhite& entry)
{
    return {Line("{name", entry.name) + " " + Line("list", entry.blackWhite) + " " +
            Line("type", entry.type) + " " + Line("nameType", entry.nameType) + "}"};
}

Words Describe(const std::list<BlackWhite>& entries)
{
    return ListWords(entries, [](const BlackWhite& entry) { return Describe(entry).text; });
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
    return Given(TheWorld().spamRules, "Spam::getSpamRules");
}
int Spam::enableRule(const std::string& name) { return Call("Spam::enableRule", name); }
int Spam::disableRule(const std::string& name) { return Call("Spam::disableRule", name); }
int Spam::deleteRule(const std::string& name) { return Call("Spam::deleteRule", name); }

bool Spam::isEnableSpamassassin() const
{
    return CallOr(TheWorld().spamAssassin ? 1 : 0, "Spam::isEnableSpamassassin") != 0;
}

std::string Spam::GetImportRulePath(const std::string& name)
{
    return Given(TheWorld().rulePaths[name], "Spam::GetImportRulePath", name);
}
std::list<BlackWhite> Spam::getBlackWhiteList(const BlackWhiteFilter& filter)
{
    return Given(TheWorld().blackWhite, "Spam::getBlackWhiteList", Describe(filter));
}
int Spam::countQueryData(const BlackWhiteFilter& filter)
{
    return CallOr(TheWorld().blackWhite.size(), "Spam::countQueryData", Describe(filter));
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
    return Export(path, Call("Spam::exportBlackWhite", type, path));
}
int Spam::importBlackWhite(BlackWhiteType type, const std::string& path)
{
    return Call("Spam::importBlackWhite", type, path);
}
int Spam::GenerateBlackWhite() { return Call("Spam::GenerateBlackWhite"); }
