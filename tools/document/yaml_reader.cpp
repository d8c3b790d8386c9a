// Reads a document in YAML, by the events of libyaml.
#include "tools/document/yaml_reader.h"

#include <yaml.h>

#include <algorithm>
#include <set>
#include <string_view>

namespace document {

namespace {

constexpr int kDeepest = 8;  // levels; a document needs four
constexpr std::string_view kSecretTag = "!secret";

/// An event, released at its end.
class Event {
public:
    Event() = default;
    ~Event() { yaml_event_delete(&event_); }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    yaml_event_t* Get() { return &event_; }
    yaml_event_type_t Type() const { return event_.type; }
    int Line() const { return static_cast<int>(event_.start_mark.line) + 1; }
    const yaml_event_t& operator*() const { return event_; }

private:
    yaml_event_t event_{};
};

Fault Bad(int line, const char* why)
{
    return {line, "", host::ReasonCode::kBadFormat, why};
}

std::string_view TextOf(const yaml_char_t* text)
{
    return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

class Reader {
public:
    explicit Reader(const std::string& text) : text_(text)
    {
        (void)yaml_parser_initialize(&parser_);
        yaml_parser_set_encoding(&parser_, YAML_UTF8_ENCODING);
        yaml_parser_set_input_string(&parser_, reinterpret_cast<const unsigned char*>(text.data()),
                                     text.size());
    }
    ~Reader() { yaml_parser_delete(&parser_); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// The one document there is. Throws a Fault, as all below.
    Node Document()
    {
        Expect(YAML_STREAM_START_EVENT);
        Node top;
        Event event;
        Next(event);
        if (event.Type() == YAML_STREAM_END_EVENT) return top;
        {
            Event begin;
            Next(begin);
            top = Read(begin, 0);
        }
        Expect(YAML_DOCUMENT_END_EVENT);
        Event end;
        Next(end);
        if (end.Type() != YAML_STREAM_END_EVENT) {
            throw Bad(end.Line(), "a second document begins here");
        }
        return top;
    }

private:
    void Next(Event& event)
    {
        if (yaml_parser_parse(&parser_, event.Get()) != 0) return;
        const char* const why = parser_.problem == nullptr ? "no YAML" : parser_.problem;
        if (parser_.error != YAML_READER_ERROR) {
            throw Bad(static_cast<int>(parser_.problem_mark.line) + 1, why);
        }
        const auto* const begin = text_.data();
        const auto lines = std::count(begin, begin + parser_.problem_offset, '\n');
        throw Fault{static_cast<int>(lines) + 1, "", host::ReasonCode::kNotText, why};
    }

    void Expect(yaml_event_type_t type)
    {
        Event event;
        Next(event);
        if (event.Type() != type) throw Bad(event.Line(), "no document");
    }

    Node Read(const Event& begin, int depth)
    {
        if (depth > kDeepest) throw Bad(begin.Line(), "is nested too deeply");
        switch (begin.Type()) {
            case YAML_SCALAR_EVENT:
                return Text(begin);
            case YAML_SEQUENCE_START_EVENT:
                Refuse((*begin).data.sequence_start.anchor, (*begin).data.sequence_start.tag,
                       begin.Line());
                return List(begin, depth);
            case YAML_MAPPING_START_EVENT:
                Refuse((*begin).data.mapping_start.anchor, (*begin).data.mapping_start.tag,
                       begin.Line());
                return Map(begin, depth);
            default:
                throw Bad(begin.Line(), "an alias of YAML is not taken");
        }
    }

    static void Refuse(const yaml_char_t* anchor, const yaml_char_t* tag, int line)
    {
        if (anchor != nullptr) throw Bad(line, "an anchor of YAML is not taken");
        if (tag != nullptr) throw Bad(line, "a tag of YAML is not taken");
    }

    static Node Text(const Event& event)
    {
        const auto& scalar = (*event).data.scalar;
        Node node;
        node.line = event.Line();
        node.isSecret = TextOf(scalar.tag) == kSecretTag;
        Refuse(scalar.anchor, node.isSecret ? nullptr : scalar.tag, node.line);
        node.text.assign(reinterpret_cast<const char*>(scalar.value), scalar.length);
        node.isBlock = scalar.style == YAML_LITERAL_SCALAR_STYLE;
        node.isNothing = node.text.empty() && scalar.style == YAML_PLAIN_SCALAR_STYLE;
        return node;
    }

    Node List(const Event& begin, int depth)
    {
        Node node;
        node.kind = Node::Kind::kList;
        node.line = begin.Line();
        while (true) {
            Event event;
            Next(event);
            if (event.Type() == YAML_SEQUENCE_END_EVENT) return node;
            node.items.push_back(Read(event, depth + 1));
        }
    }

    Node Map(const Event& begin, int depth)
    {
        Node node;
        node.kind = Node::Kind::kMap;
        node.line = begin.Line();
        std::set<std::string> names;
        while (true) {
            Event event;
            Next(event);
            if (event.Type() == YAML_MAPPING_END_EVENT) return node;
            if (event.Type() != YAML_SCALAR_EVENT) throw Bad(event.Line(), "no name stands here");
            Node name = Text(event);
            if (!names.insert(name.text).second) {
                throw Fault{name.line, name.text, host::ReasonCode::kGivenTwice,
                            "stands in this place twice"};
            }
            Event value;
            Next(value);
            node.members.emplace_back(std::move(name), Read(value, depth + 1));
        }
    }

    const std::string& text_;
    yaml_parser_t parser_{};
};

}  // namespace

const Node* Node::Find(const std::string& name) const
{
    const auto found = std::find_if(members.begin(), members.end(), [&name](const auto& member) {
        return member.first.text == name;
    });
    return found == members.end() ? nullptr : &found->second;
}

std::variant<Node, Fault> ReadYaml(const std::string& text)
{
    try {
        return Reader(text).Document();
    } catch (const Fault& fault) {
        return fault;
    }
}

}  // namespace document
