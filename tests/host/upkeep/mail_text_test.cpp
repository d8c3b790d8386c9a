// What is shown of mail that strangers wrote.
#include <gtest/gtest.h>

#include "upkeep/mail_text/charset.h"
#include "upkeep/mail_text/mail_parser.h"
#include "upkeep/mail_text/parameters.h"

namespace {

using namespace upkeep;

MailText Parsed(std::string_view mail)
{
    MailParser parser;
    while (!mail.empty()) {
        const std::string_view line = mail.substr(0, mail.find('\n'));
        mail.remove_prefix(std::min(line.size() + 1, mail.size()));
        parser.Add(line);
    }
    return parser.Finish(false);
}

/// The other parts, as "type name size;".
std::string PartsOf(const MailText& mail)
{
    std::string parts;
    for (const OtherPart& part : mail.parts) {
        parts += part.type + " " + part.name + " " + std::to_string(part.size) + ";";
    }
    return parts;
}

TEST(MailTextTest, PlainTextIsShownAndTheRestIsNamed)
{
    const MailText mail = Parsed(
        "Subject: =?utf-8?q?Gr=C3=BC=C3?=\r\n =?utf-8?q?=9Fe?=\r\n"
        "Content-Type: multipart/mixed; boundary=\"a b\"\r\n\r\nnot shown\r\n"
        "--a b\r\nContent-Type: multipart/alternative; boundary=c\r\n\r\n"
        "--c\r\nContent-Type: text/plain; charset=iso-8859-1\r\n"
        "Content-Transfer-Encoding: quoted-printable\r\n\r\nT=E4xt =\r\ngoes on\r\n"
        "--c\r\nContent-Type: text/html\r\n\r\n<p>\r\n--c--\r\nnor this\r\n"
        "--a b\r\nContent-Type: application/pdf; name=x\r\n"
        "Content-Disposition: attachment; filename*0*=utf-8''%C3%A4; filename*1*=.pdf\r\n"
        "Content-Transfer-Encoding: base64\r\n\r\nQUJDREVG\r\n"
        "--a b\r\nContent-Type: text/plain\r\nContent-Disposition: attachment; "
        "filename=\"n;.txt\"\r\n"
        "\r\nattached\r\n--a b\r\n\r\nlast\r\n--a b--\r\nnor that\r\n");
    ASSERT_EQ(mail.headers.size(), 2u);
    EXPECT_EQ(mail.headers[0].value,
              "Gr\xc3\xbc\xc3\x9f"
              "e");
    EXPECT_EQ(mail.text, "T\xc3\xa4xt goes on\nlast\n");
    EXPECT_EQ(PartsOf(mail), "text/html  4;application/pdf \xc3\xa4.pdf 6;text/plain n;.txt 9;");
    EXPECT_FALSE(mail.cut);
}

TEST(MailTextTest, AnOuterBorderEndsWhatIsInside)
{
    const MailText mail = Parsed(
        "Content-Type: multipart/mixed; boundary=o\n\n--o\n"
        "Content-Type: multipart/mixed; boundary=i\n\n--i\nContent-Type: image/png\n\n1\n"
        "--o\nContent-Type: message/rfc822\n\nSubject: inner\n--i\n\nof another\n--o--\n");
    EXPECT_EQ(PartsOf(mail), "image/png  2;message/rfc822  31;");
    EXPECT_EQ(mail.text, "");
}

TEST(MailTextTest, WhatHasNoHeaderOrNoEndIsShownAsFarAsItGoes)
{
    EXPECT_EQ(Parsed("just text\nand more").text, "just text\nand more\n");
    EXPECT_EQ(Parsed("").text, "");
    EXPECT_EQ(Parsed("Subject: x").headers[0].value, "x");
    EXPECT_EQ(Parsed("From someone at some time\nSubject: x\n\nt").headers.size(), 1u);
    EXPECT_EQ(PartsOf(Parsed("Content-Type: multipart/mixed\n\nno border\n")),
              "multipart/mixed  10;");
    EXPECT_EQ(Parsed("Content-Transfer-Encoding: base64\n\n!SGk=\n").text, "Hi\n");
}

TEST(MailTextTest, ParametersAreFoundHoweverTheyAreWritten)
{
    EXPECT_EQ(MainValue(" Text/PLAIN ; charset=x"), "text/plain");
    EXPECT_EQ(Parameter("a; NAME = \"b\\\"c\" ; name=d", "name"), "b\"c");
    EXPECT_EQ(Parameter("a; name==?utf-8?b?w6Q=?=", "name"), "\xc3\xa4");
    EXPECT_EQ(Parameter("a; name*1=b; name*0=a; name*999999999999999999999=c", "name"), "abc");
    EXPECT_EQ(Parameter("a; name*=koi8-r''%C1", "name"), "\xd0\xb0");
    for (const char* field : {"", ";", "a;;=;", "a; name", "a; name=\"", "a; *=x", "a; name*=''"}) {
        EXPECT_EQ(Parameter(field, "name"), "") << field;
    }
}

TEST(MailTextTest, WhatIsNoTextOfItsSetIsLeft)
{
    EXPECT_EQ(ToUtf8("ISO-2022-JP", "\x1b$B$\"\x1b(B"), "\xe3\x81\x82");
    EXPECT_EQ(ToUtf8("utf-16be", std::string("\0a\xd8", 3)), "a\xd8");
    EXPECT_EQ(ToUtf8("no-such-set", "x\xff"), "x\xff");
    EXPECT_EQ(ToUtf8("utf-7//TRANSLIT", "+AOQ-"), "+AOQ-");
}

}  // namespace
