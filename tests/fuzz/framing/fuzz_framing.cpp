// From received bytes to what is handed to the decoder, against a plain implementation, byte for
// byte; the reads, the clock and the decoder's share are part of the input.
//
// An input is the stream as it is, but for 0xfe, which introduces an order:
//   fe 00..c7  the read ends here; so many ms later the next one comes
//   fe c8      the read ends here; the clock is set back by 50 ms
//   fe c9      the read ends here; twelve hours pass
//   fe ca      the read ends here; it is 40 ms to midnight
//   fe cb      the read ends here; the decoder takes what is pending
//   fe cc      the read ends here; the decoder is busy from now on
//   fe cd      the read ends here; the decoder is idle from now on
//   fe ce n    4 n bytes of zero
//   fe xx      any other: the byte 0xfe

#include <demand.h>
#include <fedsocket.h>
#include <fuzztarget.h>
#include <handclock.h>
#include <plainreceiver.h>

#include <pixmapreaderremotemjpeg_p.h>

#include <QImage>

#include <pthread.h>

#include <algorithm>
#include <cstring>
#include <string>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

constexpr std::uint8_t Escape = 0xfe;
constexpr std::size_t LongestStream = 2000; // bytes; what is longer is only slower
constexpr int HandOverGap = 79; // ms; only later than this is the next picture handed over

enum eOrder : std::uint8_t {
    LongestPause = 0xc7,
    ClockSetBack,
    HalfADay,
    NearlyMidnight,
    DecoderTakes,
    DecoderBusy,
    DecoderIdle,
    Zeros
};

// In words: a call of memcmp() would have the fuzzer learn from what it compares, at length.
bool isSame(const QByteArray &bytes, const std::string &expected)
{
    if (std::size_t(bytes.size()) != expected.size())
        return false;
    std::uint64_t nDifferent = 0;
    for (std::size_t i = 0; i < expected.size(); i += sizeof nDifferent) {
        const std::size_t nBytes = std::min(sizeof nDifferent, expected.size() - i);
        std::uint64_t left = 0;
        std::uint64_t right = 0;
        std::memcpy(&left, bytes.constData() + i, nBytes);
        std::memcpy(&right, expected.data() + i, nBytes);
        nDifferent |= left ^ right;
    }
    return nDifferent == 0;
}

/** The reader's receive path and its reference, driven by one input. */
class Comparison
{
public:
    explicit Comparison(RemoteMJPEGReader &reader);
    ~Comparison() { setBusy(false); }

    void run(const std::uint8_t *pData, std::size_t nSize);

private:
    void order(std::uint8_t nOrder);
    void read();
    void expectHandOver();
    void setBusy(bool isBusy);

    RemoteMJPEGReader &m_reader;
    FedSocket m_socket;
    ReceiveBuffer m_received; // the reader's buffer
    PlainReceiver m_plain;
    std::string m_read;     // bytes of the read that is being put together
    std::string m_pending;  // what the decoder is to be given
    std::size_t m_nFed = 0; // bytes of earlier reads
    int m_nLastHandOver = 0;
    bool m_isBusy = false;
};

Comparison::Comparison(RemoteMJPEGReader &reader)
    : m_reader(reader)
{
    HandClock::set(1000);
    m_nLastHandOver = HandClock::now();
    m_reader.m_time = QTime::currentTime();
    m_reader.m_MJPEGBuffer.clear();
}

void Comparison::run(const std::uint8_t *pData, std::size_t nSize)
{
    const std::uint8_t *const pEnd = pData + nSize;
    while (pData != pEnd && m_nFed + m_read.size() < LongestStream) {
        const std::uint8_t nByte = *pData++;
        if (nByte != Escape || pData == pEnd) {
            m_read.push_back(char(nByte));
        } else if (*pData == Zeros && pEnd - pData > 1) {
            m_read.append(std::size_t(pData[1]) * 4, '\0');
            pData += 2;
        } else {
            order(*pData++);
        }
    }
    read();
}

void Comparison::order(std::uint8_t nOrder)
{
    if (nOrder >= Zeros) {
        m_read.push_back(char(Escape));
        return;
    }
    read();
    if (nOrder <= LongestPause)
        HandClock::advance(nOrder);
    else if (nOrder == ClockSetBack)
        HandClock::advance(-50);
    else if (nOrder == HalfADay)
        HandClock::advance(HandClock::MsPerDay / 2);
    else if (nOrder == NearlyMidnight)
        HandClock::set(HandClock::MsPerDay - 40);
    else if (nOrder == DecoderTakes) {
        m_reader.m_MJPEGBuffer.clear();
        m_pending.clear();
    } else {
        setBusy(nOrder == DecoderBusy);
    }
}

void Comparison::read()
{
    m_socket.feed(QByteArray::fromStdString(m_read));
    demand(m_reader.receive(m_socket, m_received), "a read of a small stream succeeds");
    m_plain.m_pictures.clear();
    m_plain.read(m_read);
    m_nFed += m_read.size();
    expectHandOver();
    m_read.clear();
    demand(isSame(m_received.toByteArray(), m_plain.m_buffer), "the same is left of the stream");
    demand(isSame(m_reader.m_MJPEGBuffer, m_pending), "the same is handed to the decoder");
    demand(m_reader.m_time.msecsSinceStartOfDay() == m_nLastHandOver, "at the same time");
}

void Comparison::expectHandOver()
{
    for (const std::string &picture : m_plain.m_pictures) {
        int nElapsed = HandClock::now() - m_nLastHandOver;
        if (nElapsed < 0)
            nElapsed += HandClock::MsPerDay;
        if (nElapsed <= HandOverGap || m_isBusy)
            continue;
        m_pending += picture;
        m_nLastHandOver = HandClock::now();
    }
}

// Through the system's own call: this thread may then find the mutex taken, as the reader's would.
void Comparison::setBusy(bool isBusy)
{
    if (isBusy == m_isBusy)
        return;
    m_isBusy = isBusy;
    pthread_mutex_t *const pMutex = m_reader.m_mtxQueueMJPEG.native_handle();
    if (isBusy)
        pthread_mutex_lock(pMutex);
    else
        pthread_mutex_unlock(pMutex);
}

} // namespace

int LLVMFuzzerInitialize(int *, char ***)
{
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *pData, std::size_t nSize)
{
    // Never started: its threads are played by the comparison.
    static QImage image;
    static RemoteMJPEGReader reader(image);
    Comparison(reader).run(pData, nSize);
    return 0;
}
