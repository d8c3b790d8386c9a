// What a message says, and what else is in it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "upkeep/mail_text/header_block.h"

namespace upkeep {

/// A part that is not shown.
struct OtherPart {
    std::string type;
    std::string name;  ///< empty when it has none
    std::uint64_t size = 0;
};

/// What is shown of a message: UTF-8 that changes nothing around it. As JSON less than 256 KiB.
struct MailText {
    std::vector<HeaderField> headers;
    std::string text;              ///< of all parts in plain text, in lines
    std::vector<OtherPart> parts;  ///< the first hundred
    std::uint64_t partCount = 0;   ///< how many other parts there are
    bool cut = false;              ///< whether there is more than is shown
};

/// Takes a message line by line, in the same memory however large it is: what need not be shown is
/// not kept. Messages in a message are parts that are not shown; parts in parts are looked into to
/// a depth of twenty.
class MailParser {
public:
    /// Takes a line, without its line feed.
    void Add(std::string_view line);

    /// Ends the message. `cut`: it goes on.
    MailText Finish(bool cut);

private:
    enum class State { kHeader, kText, kOther, kBetween };

    bool EndsPart(std::string_view line);
    void BeginBody();
    void AddToBody(std::string_view line);
    void FinishPart();
    void AddHeaders();
    void AddText();

    MailText mail_;
    State state_ = State::kHeader;
    bool isMain_ = true;  // the header is that of the message itself
    HeaderBlock header_;
    std::vector<std::string> boundaries_;  // of the parts that this one is in
    std::string charset_;
    std::string encoding_;
    std::string body_;  // of a part that is shown, as it was sent
    OtherPart other_;
    std::size_t shown_ = 0;  // bytes of the text, as JSON
};

}  // namespace upkeep
