#ifndef MORVEK_TESTS_PLAINRECEIVER_H
#define MORVEK_TESTS_PLAINRECEIVER_H

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace Morvek::Tests {

/**
 * The reference of cutting pictures out of a stream: the cut in the words of its description, on
 * std::string, with the C library's formatted scan, and with copies of everything.
 */
class PlainReceiver
{
public:
    std::string m_buffer;                ///< what is left of the stream
    std::vector<std::string> m_pictures; ///< what was cut out, oldest first

    /** What a reader does after each read: the newest header, then the one before. */
    void read(const std::string &bytes)
    {
        m_buffer += bytes;
        const long long header = cut((long long)m_buffer.size());
        if (header != -1)
            cut(header);
    }

private:
    long long behindLineEnd(long long from) const
    {
        const std::size_t found = m_buffer.find("\r\n", std::size_t(from));
        const long long index = found == std::string::npos ? -1 : (long long)found;
        return index + 2;
    }

    bool isHeaderAt(long long index) const
    {
        const char *const pWord = "Content-Length";
        std::size_t length = 0;
        while (pWord[length] != 0 && std::size_t(index) + length < m_buffer.size()
               && m_buffer[std::size_t(index) + length] == pWord[length])
            ++length;
        return pWord[length] == 0;
    }

    long long cut(long long start)
    {
        long long header = start - 1;
        while (header >= 0 && !isHeaderAt(header))
            --header;
        if (header < 0) {
            m_buffer = m_buffer.substr(std::size_t(std::max(start, 1LL) - 1));
            return -1;
        }
        const long long end = behindLineEnd(header);
        const long long lineLength = end - header;
        const std::string line = m_buffer.substr(
            std::size_t(header), lineLength < 0 ? std::string::npos : std::size_t(lineLength));
        long long length = 0;
        if (std::sscanf(line.c_str(), "Content-Length: %lld\r\n", &length) != 1)
            length = 0;
        if (length < 0)
            length = 0;
        if (length > 2147483647LL)
            length = 2147483647LL;
        const long long data = behindLineEnd(end);
        if (data + length > (long long)m_buffer.size())
            return header;
        m_pictures.push_back(m_buffer.substr(std::size_t(data), std::size_t(length)));
        m_buffer.erase(0, std::size_t(data + length));
        return -1;
    }
};

} // namespace Morvek::Tests

#endif // MORVEK_TESTS_PLAINRECEIVER_H
