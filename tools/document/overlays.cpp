// Several files read as one document: each is laid over those before it.
#include "tools/document/overlays.h"

#include <algorithm>
#include <iterator>

#include "tools/document/document.h"

namespace document {

namespace {

/// How many lines a text has as far as faults tell: one may be about the line behind the last.
int LinesIn(const std::string& text)
{
    return static_cast<int>(std::count(text.begin(), text.end(), '\n')) + 2;
}

void CountOn(Node& node, int lines)
{
    node.line += lines;
    for (Node& item : node.items) CountOn(item, lines);
    for (auto& [name, value] : node.members) {
        name.line += lines;
        CountOn(value, lines);
    }
}

void LayOver(Node& below, Node value);

void LayMember(Node& below, std::pair<Node, Node> member)
{
    const auto known =
        std::find_if(below.members.begin(), below.members.end(),
                     [&member](const auto& one) { return one.first.text == member.first.text; });
    if (known == below.members.end()) {
        below.members.push_back(std::move(member));
    } else {
        known->first = std::move(member.first);
        LayOver(known->second, std::move(member.second));
    }
}

void LayOver(Node& below, Node value)
{
    if (below.kind != Node::Kind::kMap || value.kind != Node::Kind::kMap) {
        below = std::move(value);
        return;
    }
    for (auto& member : value.members) LayMember(below, std::move(member));
}

/// Lays a section over another one of its name: the entries of two lists are one list.
void LaySection(Node& document, std::pair<Node, Node> section)
{
    Node* below = nullptr;
    for (auto& [name, value] : document.members) {
        if (name.text == section.first.text) below = &value;
    }
    Node& value = section.second;
    if (below != nullptr && value.isNothing) return;
    if (below != nullptr && below->kind == Node::Kind::kList && value.kind == Node::Kind::kList) {
        std::move(value.items.begin(), value.items.end(), std::back_inserter(below->items));
    } else {
        LayMember(document, std::move(section));
    }
}

}  // namespace

Node ReadLaidOver(const std::vector<std::string>& texts, Faults& faults)
{
    Node whole;
    whole.kind = Node::Kind::kMap;
    int before = 0;
    for (const std::string& text : texts) {
        auto read = ReadYaml(text);
        if (auto* const fault = std::get_if<Fault>(&read)) {
            fault->line += before;
            faults.push_back(*fault);
        } else {
            auto& document = std::get<Node>(read);
            document.line = std::max(document.line, 1);  // an empty text begins nowhere
            CountOn(document, before);
            (void)CheckFormat(document, faults);
            for (auto& section : document.members) LaySection(whole, std::move(section));
        }
        before += LinesIn(text);
    }
    return whole;
}

Place PlaceOf(const std::vector<std::string>& texts, int line)
{
    Place place{0, line};
    while (place.file + 1 < texts.size() && place.line > LinesIn(texts[place.file])) {
        place.line -= LinesIn(texts[place.file]);
        ++place.file;
    }
    return place;
}

}  // namespace document
