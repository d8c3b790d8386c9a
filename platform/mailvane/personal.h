// Forwarding and automatic replies of one user. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

class Personal {
public:
    explicit Personal(const std::string& user);
    ~Personal();
    Personal(const Personal&) = delete;
    Personal& operator=(const Personal&) = delete;

    /// Whether the user's settings can be used, and if not the message key that tells why.
    bool isValid();
    std::string getErrKey();

    bool isEnabledForward();
    std::string getForwardAddr();
    bool isKeepCopy();
    bool isEnabledReply();
    /// Bounds of the reply period in seconds since the epoch; 0 and less for none.
    long GetReplyBeginTime() const;
    long GetReplyEndTime() const;

    void setForward(bool enabled);
    void setForwardAddr(const std::string& address);
    void setKeepCopy(bool keep);
    void setReply(bool enabled);
    void SetReplyBeginTime(long seconds);
    void SetReplyEndTime(long seconds);

    /// The reply to one sender, or for null the general reply. Negative on failure. Replies are
    /// stored at once, without `save`.
    int ReadReplyContent(const char* sender, std::string& subject, std::string& message);
    int WriteReplyContent(const char* sender, const std::string& subject,
                          const std::string& message);
    /// The senders that have a reply of their own.
    std::list<std::string> GetReplyList();
    /// Removes the reply to one sender; negative on failure.
    int RemoveReplySetting(const std::string& sender);

    /// Stores what the setters were given; negative on failure.
    int save();

private:
    struct State;
    State* state_;  ///< owned
};
