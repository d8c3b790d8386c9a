// The languages of the interface and its texts; multipart bodies cut to pieces.
#include <fstream>
#include <vector>

#include "host/libkos/languages.h"
#include "platform/texts/localized_string_parser.h"
#include "tests/host/libkos_request.h"
#include "tests/host/multipart_record.h"

namespace {

using kos::ChooseLanguage;

class Texts : public RequestTest {};

TEST_F(Texts, ChoosesALanguageThatCanBePartOfAFileName)
{
    for (const char* language : {"en", "de", "fr"}) {
        Write(std::string("/var/packages/Mailvane/target/app/texts/") + language, "[maillog]\n");
    }
    const struct {
        const char* parameter;
        const char* cookies;
        const char* accepted;
        const char* want;
    } cases[] = {
        {"de", "lang=fr", "fr", "de"},
        {"../x", "lang=fr", "", "fr"},
        {"d", "", "", "en"},
        {"abcdefghi", "", "", "en"},
        {"DE", "", "", "en"},
        {nullptr, "a=b; lang=de ;c", "fr", "de"},
        {nullptr, "xlang=fr; lang=a/b", "de", "de"},
        {nullptr, "", "fr-CA, de;q=0.5", "fr"},
        {nullptr, "", "fr;q=0.3,de;q=0.5", "de"},
        {nullptr, "", "ja, *, de;q=0.1", "de"},
        {nullptr, "", "fr;q=0", "en"},
        {nullptr, "", "ja", "en"},
        {nullptr, "", ";q=1,,/-;q", "en"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(std::string(test.cookies) + " / " + test.accepted);
        const std::string parameter = test.parameter != nullptr ? test.parameter : "";
        EXPECT_EQ(test.want, ChooseLanguage(test.parameter != nullptr ? &parameter : nullptr,
                                            test.cookies, test.accepted));
    }
}

TEST_F(Texts, ReadsSectionsOfKeys)
{
    Write("/texts",
          "\xef\xbb\xbf[maillog]\r\n"
          "; comment = no text\n"
          " send = \"Gesendet = ja\"\r\n"
          "send=\"second\"\n"
          "bare=no quotes\n"
          "no text\n"
          "[ other ]\n"
          "half=\"\n"
          "last=\"x\"");
    const Json::Value texts = HALD::HDX::LocalizedStringParser::ParseTexts(root + "/texts");
    EXPECT_EQ("Gesendet = ja", texts["maillog"]["send"].asString());
    EXPECT_EQ("no quotes", texts["maillog"]["bare"].asString());
    EXPECT_EQ(2U, texts["maillog"].size());
    EXPECT_EQ("\"", texts["other"]["half"].asString());
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
        {"--XyZ--", ""},
        {Multipart({"NAME = \"a;b\\\"c\\d\" ;x\r\n\r\n1", "x; name=\"a; name=b\r\n\r\n2"}),
         "<a;b\"c\\d>1</><a; name=b>2</>"},
        {"x--XyZ--", "unfinished"},
        {"--XyZ\r\n" + head + "1\n--XyZ--", "unfinished"},
        {"--XyZ\r\n" + head + "1\r\n--XyZ-", "unfinished"},
        {"--XyZ\r\n" + head + "1\r\n--XyZ2\r\n--XyZ--", "malformed"},
        {"--XyZ\r\n\r\n" + head + "1\r\n--XyZ--", "malformed"},
        {"--XyZ\r\nX: " + std::string(9000, 'x'), "malformed"},
        {many, "malformed"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.body.substr(0, 60));
        for (const std::size_t step : {1U, 2U, 3U, 7U, 64U, 100000U}) {
            EXPECT_EQ(test.want, ParseMultipart(test.body, step)) << "in pieces of " << step;
        }
    }
}

}  // namespace
