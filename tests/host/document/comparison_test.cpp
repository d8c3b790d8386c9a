// What lies between two documents.
#include "tools/document/comparison.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

document::Parts Parts(const std::string& text)
{
    document::Faults faults;
    document::Parts parts = document::PartsOf("format: 1\n" + text, faults);
    for (const document::Fault& fault : faults) {
        ADD_FAILURE() << fault.line << ": " << fault.about << ": " << fault.why;
    }
    return parts;
}

/// What lies between two documents, in words.
std::string Between(const std::string& before, const std::string& after)
{
    constexpr const char* kKinds[] = {"+", "-", "~", "moved"};
    const document::Comparison found = document::Compare(Parts(before), Parts(after));
    std::string text;
    for (const auto& difference : found.differences) {
        text.append(difference.section->name).append(" ").append(difference.key);
        text.append(kKinds[static_cast<std::size_t>(difference.kind)]).append(";");
    }
    for (const std::string& name : found.onlyBefore) text += "<" + name;
    for (const std::string& name : found.onlyAfter) text += ">" + name;
    return text;
}

}  // namespace

TEST(Comparison, IsOfWhatDocumentsMean)
{
    const struct {
        const char *before, *after, *wanted;
    } rows[] = {
        {"settings: {imap_enabled: yes}", "settings: {imap_enabled: true}", ""},
        {"settings: {imap_enabled: yes}", "settings: {imap_enabled: 'no'}",
         "settings imap_enabled~;"},
        {"settings: {imap_port: 143}", "settings: {pop3_port: 110}",
         "settings pop3_port+;settings imap_port-;"},
        {"settings: {pop3_port: 1, imap_port: 2}", "settings: {imap_port: 2, pop3_port: 1}", ""},
        {"report: {enabled: no}", "report: {enabled: false}", ""},
        // The order of domains is that of the pages, that of other lists says nothing.
        {"domains: [a.example, b.example]", "domains: [b.example, a.example]", "domains moved;"},
        {"domains: [A.example]", "domains: [a.example]", ""},
        {"white_list: [sender a@x.test, sender b@x.test]",
         "white_list: [sender b@x.test, sender a@x.test]", ""},
        {"aliases: {a: [x, y], b: []}", "aliases: {b: [], a: [x]}", "aliases a~;"},
        {"aliases: {a: []}", "aliases: {a: ['']}", "aliases a~;"},
        {"rule_sets: {z: {enabled: true, rules: \"x\\n\"}}",
         "rule_sets:\n  z:\n    enabled: true\n    rules: |\n      x\n", ""},
        {"limits: {bob: 1}", "limits: {bob: 2, ann: 1}", "limits ann+;limits bob~;"},
        {"aliases: {a: [x]}\ndomains: []", "limits: {}\ndomains: []", "<aliases>limits"},
        {"copies_of_all: [bob]", "copies_of_all:", "copies_of_all bob-;"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Between(row.before, row.after), row.wanted) << row.before << " | " << row.after;
    }
}

TEST(Comparison, TellsNoSecret)
{
    const std::string typed = "settings: {smtp_relay_password: hush}";
    const std::string other = "settings: {smtp_relay_password: '0ther'}";
    const std::string named = "settings: {smtp_relay_password: !secret relay_password}";
    EXPECT_EQ(Between(typed, typed), "");
    EXPECT_EQ(Between(typed, named), "");
    EXPECT_EQ(Between(named, typed), "");
    EXPECT_EQ(Between(named, "settings: {smtp_relay_password: !secret x}"),
              "settings smtp_relay_password~;");
    for (const auto& [one, two] :
         {std::pair(typed, other),
          std::pair(typed, std::string("settings: {smtp_relay_password: ''}"))}) {
        const document::Comparison found = document::Compare(Parts(one), Parts(two));
        ASSERT_EQ(found.differences.size(), 1U);
        EXPECT_NE(found.before, found.after);
        for (const std::string& text :
             {found.before, found.after, found.differences[0].before, found.differences[0].after}) {
            EXPECT_EQ(text.find("hush") + text.find("0ther"), 2 * std::string::npos) << text;
        }
    }
}

TEST(Comparison, NamesEachFaultWithItsLine)
{
    document::Faults faults;
    (void)document::PartsOf(
        "format: 2\nnothing: 1\nsettings:\n  unknown: 1\n  imap_port: [1]\n"
        "domains: x\nlimits: x\naliases:\nwhite_list: [[x]]\n"
        "blocklists: [a b c]\n",
        faults);
    std::string lines;
    for (const document::Fault& fault : faults) lines += std::to_string(fault.line) + " ";
    EXPECT_EQ(lines, "1 2 4 5 6 7 9 10 ");
    for (const char* const text : {"", "- format\n", "format", "format: [1]\n", "settings: {}\n"}) {
        faults.clear();
        (void)document::PartsOf(text, faults);
        EXPECT_EQ(faults.size(), 1U) << text;
    }
}
