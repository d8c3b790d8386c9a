// Spam rule sets, black and white lists: changes are noted, not carried out.
#include "platform/mailvane/spam.h"

#include "tests/recording/call.h"

using recording::Call;
using recording::Line;
using recording::TheWorld;
using recording::Words;
using recording::WriteExport;

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

GIVEN(std::list<SpamRule>, Spam::getSpamRules, (), (), TheWorld().spamRules);
NOTED(Spam::enableRule, (const std::string& name), (name));
NOTED(Spam::disableRule, (const std::string& name), (name));
NOTED(Spam::deleteRule, (const std::string& name), (name));

bool Spam::isEnableSpamassassin() const
{
    return recording::CallOr(TheWorld().spamAssassin ? 1 : 0, "Spam::isEnableSpamassassin") != 0;
}

GIVEN(std::string, Spam::GetImportRulePath, (const std::string& name), (name),
      TheWorld().rulePaths[name]);
GIVEN(std::list<BlackWhite>, Spam::getBlackWhiteList, (const BlackWhiteFilter& filter),
      (Describe(filter)), TheWorld().blackWhite);
NOTED_OR(TheWorld().blackWhite.size(), Spam::countQueryData, (const BlackWhiteFilter& filter),
         (Describe(filter)));
NOTED(Spam::addBlackWhite, (const BlackWhite& entry), (Describe(entry)));
NOTED(Spam::deleteBlackWhite, (const BlackWhite& entry), (Describe(entry)));
NOTED(Spam::deleteBlackWhiteList, (const std::list<BlackWhite>& entries), (Describe(entries)));
DONE(Spam::exportBlackWhite, (BlackWhiteType type, const std::string& path), (type, path),
     WriteExport(path));
NOTED(Spam::importBlackWhite, (BlackWhiteType type, const std::string& path), (type, path));
NOTED(Spam::GenerateBlackWhite, (), ());
