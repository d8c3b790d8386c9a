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

    /// Whether there are settings for the user; if not, `getErrKey` is the key of the message that
    /// tells why.
    bool isValid();
    std::string getErrKey();

    bool isEnabledForward();
    std::string getForwardAddr();
    bool isKeepCopy();
    bool isEnabledReply();
    /// First and last second of the reply period, since the epoch; 0 or less for no limit.
    long GetReplyBeginTime() const;
    long GetReplyEndTime() const;

    void setForward(bool enabled);
    void setForwardAddr(const std::string& address);
    void setKeepCopy(bool keep);
    void setReply(bool enabled);
    void SetReplyBeginTime(long seconds);
    void SetReplyEndTime(long seconds);

    /// The reply to one sender, or the general reply when `sender` is null. Negative on failure.
    /// Written replies are stored at once, without `save`.
    int ReadReplyContent(const char* sender, std::string& subject, std::string& message);
    int WriteReplyContent(const char* sender, const std::string& subject,
                          const std::string& message);
    /// The senders with their own reply.
    std::list<std::string> GetReplyList();
    /// Removes the reply to one sender; negative on failure.
    int RemoveReplySetting(const std::string& sender);

    /// Stores the values of the setters; negative on failure.
    int save();

private:
    struct State;
    State* state_;  ///< owned
};
