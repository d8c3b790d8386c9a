// Documents as text: what is read of them, what is refused and where, and texts that stand in them.
#include <gtest/gtest.h>

#include "tools/document/yaml_reader.h"
#include "tools/document/yaml_text.h"

namespace {

using document::Node;
using host::ReasonCode;

Node Read(const std::string& text)
{
    auto read = document::ReadYaml(text);
    const auto* const fault = std::get_if<document::Fault>(&read);
    if (fault == nullptr) return std::get<Node>(std::move(read));
    ADD_FAILURE() << text << ": " << fault->line << ": " << fault->why;
    return {};
}

}  // namespace

TEST(YamlReader, NamesTheLineOfTheFirstFault)
{
    const std::string deepest = "a: [[[[[[[x]]]]]]]\n";
    const struct {
        const char* name;
        std::string text;
        int line;
        ReasonCode code;
    } rows[] = {
        {"an anchor of a text", "a: 1\nb: &x 1\n", 2, ReasonCode::kBadFormat},
        {"an anchor of a list", "a: 1\n\nb: &x [1]\n", 3, ReasonCode::kBadFormat},
        {"an anchor of a name", "a: 1\n&x b: 1\n", 2, ReasonCode::kBadFormat},
        {"an alias", "a: 1\nb: *x\n", 2, ReasonCode::kBadFormat},
        {"an alias for a name", "a: 1\n*x : 1\n", 2, ReasonCode::kBadFormat},
        {"a bomb of aliases", "a: &a [x]\nb: &b [*a, *a]\nc: [*b, *b]\n", 1,
         ReasonCode::kBadFormat},
        {"a tag of a text", "a: !!int 1\n", 1, ReasonCode::kBadFormat},
        {"a tag of a map", "a:\n  !secret {b: 1}\n", 2, ReasonCode::kBadFormat},
        {"a name given twice", "a: 1\nb: 1\na: 2\n", 3, ReasonCode::kGivenTwice},
        {"the same, spelled otherwise", "a:\n  b: 1\n  \"\\x62\": 1\n", 3, ReasonCode::kGivenTwice},
        {"a tab before a name", "a:\n\tb: 1\n", 2, ReasonCode::kBadFormat},
        {"a list as a name", "a: 1\n? [b]\n: 1\n", 2, ReasonCode::kBadFormat},
        {"a second document", "a: 1\n---\nb: 1\n", 2, ReasonCode::kBadFormat},
        {"no end", "a: [1,\n2\n", 3, ReasonCode::kBadFormat},
        {"no UTF-8", "a: 1\nb: \xff\n", 2, ReasonCode::kNotText},
        {"a control character", "a: 1\n\nb: \x01\n", 3, ReasonCode::kNotText},
        {"half of a character at the end", "a: 1\nb: \xc3", 2, ReasonCode::kNotText},
        {"one level too many", "a: 1\nb: [[[[[[[[x]]]]]]]]\n", 2, ReasonCode::kBadFormat},
        {"many levels", "a:\n" + std::string(100000, '['), 2, ReasonCode::kBadFormat},
    };
    for (const auto& row : rows) {
        const auto read = document::ReadYaml(row.text);
        const auto* const fault = std::get_if<document::Fault>(&read);
        ASSERT_NE(fault, nullptr) << row.name;
        EXPECT_EQ(fault->line, row.line) << row.name << ": " << fault->why;
        EXPECT_EQ(fault->code, row.code) << row.name << ": " << fault->why;
    }
    (void)Read(deepest);
}

TEST(YamlReader, TellsWhatATextIsAndWhereItBegins)
{
    const Node top =
        Read("# comment\na: !secret key\nb: |\n  one\n  two\nc:\nd: \"\"\ne:\n- 1e3\n- yes\n");
    const auto at = [&top](const char* name) { return *top.Find(name); };
    EXPECT_EQ(top.Find("f"), nullptr);
    EXPECT_TRUE(at("a").isSecret);
    EXPECT_EQ(at("a").text, "key");
    EXPECT_FALSE(at("b").isSecret);
    EXPECT_TRUE(at("b").isBlock);
    EXPECT_EQ(at("b").text, "one\ntwo\n");
    EXPECT_EQ(at("b").line, 3);
    EXPECT_TRUE(at("c").isNothing);
    EXPECT_FALSE(at("d").isNothing);
    ASSERT_EQ(at("e").items.size(), 2U);
    EXPECT_EQ(at("e").items[1].line, 10);
    EXPECT_EQ(at("e").items[0].text, "1e3");
    EXPECT_TRUE(Read("").isNothing || Read("").text.empty());

    const std::string huge(std::size_t{8} << 20, 'x');
    EXPECT_EQ(Read("a: " + huge + "\n").Find("a")->text, huge);
}

TEST(YamlText, IsPlainOnlyWhereNoReaderTakesItForSomethingElse)
{
    for (const char* const text : {"word", "two words", "a.b@c.example", "c++", "a1e3"}) {
        EXPECT_EQ(document::Quoted(text), text);
    }
    for (const char* const text : {"", "no", "Yes", "NULL", "~", "1", "0x1F", "1e3", "-", "a ",
                                   " a", "a  b", "a: b", "a #b", ".5", "=", "<<", "nan"}) {
        EXPECT_EQ(document::Quoted(text), "\"" + std::string(text) + "\"");
    }
    // What would steer a terminal, end a line or be invisible is escaped.
    EXPECT_EQ(document::Quoted("\x1b[31m\t\n\\\""), R"("\u001B[31m\t\n\\\"")");
    EXPECT_EQ(document::Quoted("\xc2\x85\xe2\x80\xae\xef\xbb\xbf\xc3\xbc"),
              "\"\\u0085\\u202E\\uFEFF\xc3\xbc\"");
}
