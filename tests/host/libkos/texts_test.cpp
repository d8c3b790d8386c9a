// The languages of the interface and its texts; multipart bodies cut to pieces.

#include "host/libkos/languages.h"
#include "platform/texts/localized_string_parser.h"
#include "tests/host/libkos/multipart_record.h"
#include "tests/host/libkos/request.h"

namespace {

using kos::ChooseLanguage;

class Texts : public RequestTest {};

TEST_F(Texts, ChoosesALanguageThatCanBePartOfAFileName)
{
    for (const std::string language : {"en", "de", "fr"}) {
        Write("/var/packages/Mailvane/target/app/texts/" + language, "[maillog]\n");
    }
    const struct {
        std::optional<std::string> parameter;
        const char *cookies, *accepted, *want;
    } cases[] = {
        {"de", "lang=fr", "fr", "de"},
        {"../x", "lang=fr", "", "fr"},
        {"abcdefghi", "", "", "en"},
        {{}, "a=b; lang=de ;c", "fr", "de"},
        {{}, "xlang=fr; lang=a/b", "de", "de"},
        {{}, "", "fr-CA, de;q=0.5", "fr"},
        {{}, "", "ja, *, fr;q=0.1, de;q=0.3", "de"},
        {{}, "", "fr;q=0", "en"},
        {{}, "", ";q=1,,/-;q", "en"},
    };
    for (const auto& test : cases) {
        const std::string* parameter = test.parameter ? &*test.parameter : nullptr;
        EXPECT_EQ(test.want, ChooseLanguage(parameter, test.cookies, test.accepted))
            << test.cookies << " / " << test.accepted;
    }
}

TEST_F(Texts, ReadsSectionsOfKeys)
{
    Write("/texts",
          "\xef\xbb\xbf[maillog]\r\n; comment = no text\n send = \"Gesendet = ja\"\r\n"
          "send=\"second\"\nbare=no quotes\nno text\n[ other ]\nhalf=\"\nlast=\"x\"");
    const Json::Value texts = HALD::HDX::LocalizedStringParser::ParseTexts(root + "/texts");
    EXPECT_EQ("Gesendet = ja", texts["maillog"]["send"].asString());
    EXPECT_EQ("no quotes", texts["maillog"]["bare"].asString());
    EXPECT_EQ("x", texts["other"]["last"].asString());
    EXPECT_TRUE(HALD::HDX::LocalizedStringParser::ParseTexts(root + "/none").isNull());
}

TEST(Multipart, GivesTheSamePartsHoweverTheyArrive)
{
    const std::string head = "Content-Disposition: form-data; name=\"a\"\r\n\r\n";
    std::string many = "--XyZ\r\n";
    for (int part = 0; part < 65; ++part) many += head + "\r\n--XyZ\r\n";
    const struct {
        std::string body;
        const char* want;
    } cases[] = {
        {Multipart({"name=a; name=b\r\n\r\n1", "name=b; filename=\"c\"\r\n\r\n2\r\n--Xy"}),
         "<a>1</><b|c>2\r\n--Xy</>"},
        {"preamble\r\n--XyZ \t\r\n" + head + "\r\n--XyZ--epilogue\r\n--XyZ", "<a></>"},
        {Multipart({"NAME = \"a;b\\\"c\\d\" ;x\r\n\r\n1"}), "<a;b\"c\\d>1</>"},
        {"x--XyZ--", "unfinished"},
        {"--XyZ\r\n" + head + "1\n--XyZ--", "unfinished"},
        {"--XyZ\r\n" + head + "1\r\n--XyZ2\r\n--XyZ--", "malformed"},
        {"--XyZ\r\n\r\n" + head + "1\r\n--XyZ--", "malformed"},
        {"--XyZ\r\nX: " + std::string(9000, 'x'), "malformed"},
        {many, "malformed"},
    };
    for (const auto& test : cases) {
        for (const std::size_t step : {1U, 2U, 3U, 7U, 64U, 100000U}) {
            EXPECT_EQ(test.want, ParseMultipart(test.body, step)) << test.body.substr(0, 60);
        }
    }
}

}  // namespace
