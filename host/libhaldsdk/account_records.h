// Account records of the C library, and calls that need a buffer for their texts.
#pragma once

#include <grp.h>
#include <nss.h>
#include <pwd.h>

#include <cerrno>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/libhaldsdk/account_engine.h"

namespace host {

using RecordBuffer = std::vector<char>;
constexpr std::size_t kFirstRecordBuffer = 4096;
constexpr std::size_t kLargestRecordBuffer = std::size_t{64} << 20;  // a group of a million

/// Repeats `call(bytes, size, &code)` with a larger buffer while it reports ERANGE. On failure
/// errno is set.
template <typename Call>
nss_status CallWithBuffer(RecordBuffer& buffer, const Call& call)
{
    if (buffer.empty()) buffer.resize(kFirstRecordBuffer);
    for (;;) {
        int code = 0;
        const nss_status status = call(buffer.data(), buffer.size(), &code);
        if (status == NSS_STATUS_SUCCESS || status == NSS_STATUS_NOTFOUND) return status;

        errno = code != 0 ? code : EAGAIN;
        const bool wantsRoom = status == NSS_STATUS_TRYAGAIN && code == ERANGE;
        if (!wantsRoom || buffer.size() >= kLargestRecordBuffer) return status;
        buffer.resize(buffer.size() * 2);
    }
}

/// The reason when a source of accounts does not answer; errno tells why.
Reason NoAnswerFrom(const std::string& source);

/// The record that `call(&record, bytes, size, &code)` asks `source` for, as `convert` makes it;
/// nothing when there is none.
template <typename Record, typename Call, typename Convert>
auto FindRecord(const std::string& source, const Call& call, const Convert& convert)
    -> Result<std::optional<decltype(convert(std::declval<const Record&>()))>>
{
    RecordBuffer buffer;
    Record record;
    const nss_status status = CallWithBuffer(buffer, [&](char* bytes, std::size_t size, int* code) {
        return call(&record, bytes, size, code);
    });
    if (status == NSS_STATUS_SUCCESS) return std::make_optional(convert(record));
    if (status != NSS_STATUS_NOTFOUND) return NoAnswerFrom(source);
    return {std::nullopt};
}

/// Calls `visit` for each record returned by `next(record, bytes, size, &code)`. False, with errno
/// set, on failure.
template <typename Record, typename Next, typename Visit>
bool EachRecord(const Next& next, const Visit& visit)
{
    RecordBuffer buffer;
    for (;;) {
        Record record;
        const nss_status status =
            CallWithBuffer(buffer, [&](char* bytes, std::size_t size, int* code) {
                return next(&record, bytes, size, code);
            });
        if (status != NSS_STATUS_SUCCESS) return status == NSS_STATUS_NOTFOUND;
        visit(record);
    }
}

/// Copies of the C library's records. The real name is the first field of the comment (GECOS).
User ToUser(const passwd& record);
Group ToGroup(const group& record);

}  // namespace host
