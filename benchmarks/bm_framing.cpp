// How long it takes to cut the pictures out of a stream, in pictures and reads of many sizes: the
// receive buffer, the plain receiver of the tests, FFmpeg's demuxer, and copying each picture twice,
// out of the socket and to the decoder.

#include "benchcase.h"

#include <mjpegframing_p.h>
#include <receivebuffer_p.h>

#include <plainreceiver.h>

#ifdef MORVEK_HAS_AVFORMAT
extern "C" {
#    include <libavformat/avformat.h>
}
#endif

#include <QIODevice>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>

using namespace Morvek::Benchmarks;
using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

namespace {

struct sRead
{
    const char *m_pBytes;
    int m_nBytes;
};

/** Parts of a stream, and the reads in which they come. */
struct sStream
{
    int m_nPictureBytes;
    int m_nPictures;
    std::vector<char> m_bytes;
    std::vector<sRead> m_reads;
};

using StreamPointer = std::shared_ptr<const sStream>;

std::string makePart(int nPictureBytes)
{
    std::minstd_rand generator(1);
    std::string picture(std::size_t(nPictureBytes), '\0');
    std::generate(picture.begin(), picture.end(), [&] { return char(generator() >> 8); });
    return "--frame\r\nContent-Type: image/jpeg\r\nContent-Length: " + std::to_string(nPictureBytes)
         + "\r\n\r\n" + picture + "\r\n";
}

StreamPointer makeStream(int nPictureBytes, int nReadBytes)
{
    constexpr int StreamBytes = 10 * 1000 * 1000; // more than inner caches hold
    auto pStream = std::make_shared<sStream>();
    pStream->m_nPictureBytes = nPictureBytes;
    pStream->m_nPictures = StreamBytes / nPictureBytes;
    const std::string part = makePart(nPictureBytes);
    for (int i = 0; i < pStream->m_nPictures; ++i)
        pStream->m_bytes.insert(pStream->m_bytes.end(), part.begin(), part.end());
    const int nBytes = int(pStream->m_bytes.size());
    for (int nAt = 0; nAt < nBytes; nAt += nReadBytes)
        pStream->m_reads.push_back(
            {pStream->m_bytes.data() + nAt, std::min(nReadBytes, nBytes - nAt)});
    return pStream;
}

/** Gives what it was fed, as a socket gives what it has received. */
class FedDevice : public QIODevice
{
public:
    FedDevice() { setOpenMode(QIODevice::ReadOnly | QIODevice::Unbuffered); }

    void feed(const sRead &read) { m_read = read; }
    bool isSequential() const override { return true; }
    qint64 bytesAvailable() const override { return m_read.m_nBytes; }

protected:
    qint64 readData(char *pData, qint64 nMost) override
    {
        const int nBytes = std::min(int(nMost), m_read.m_nBytes);
        std::memcpy(pData, m_read.m_pBytes, std::size_t(nBytes));
        m_read = {m_read.m_pBytes + nBytes, m_read.m_nBytes - nBytes};
        return nBytes;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    sRead m_read{nullptr, 0};
};

void countBytes(benchmark::State &state, const sStream &stream)
{
    state.SetBytesProcessed(state.iterations() * qint64(stream.m_bytes.size()));
}

void cut(benchmark::State &state, const StreamPointer &pStream)
{
    FedDevice device;
    ReceiveBuffer buffer;
    QByteArray picture;
    picture.reserve(pStream->m_nPictureBytes);
    const PictureHandler handOver = [&picture](const char *pData, int nLength) {
        picture.resize(0);
        picture.append(pData, nLength);
    };
    for (auto _ : state) {
        for (const sRead &read : pStream->m_reads) {
            device.feed(read);
            buffer.appendAllOf(device);
            const int iHeader = cutPicture(buffer, buffer.size(), handOver);
            if (iHeader != -1)
                cutPicture(buffer, iHeader, handOver);
        }
        benchmark::DoNotOptimize(picture.constData());
    }
    countBytes(state, *pStream);
}

void cutPlainly(benchmark::State &state, const StreamPointer &pStream)
{
    for (auto _ : state) {
        PlainReceiver receiver;
        for (const sRead &read : pStream->m_reads) {
            receiver.read(std::string(read.m_pBytes, std::size_t(read.m_nBytes)));
            receiver.m_pictures.clear();
        }
    }
    countBytes(state, *pStream);
}

void copyTwice(benchmark::State &state, const StreamPointer &pStream)
{
    const std::size_t nBytes = std::size_t(pStream->m_nPictureBytes);
    QByteArray received(pStream->m_nPictureBytes, '\0');
    QByteArray handedOver(pStream->m_nPictureBytes, '\0');
    for (auto _ : state) {
        for (int nPicture = 0; nPicture < pStream->m_nPictures; ++nPicture) {
            std::memcpy(received.data(), pStream->m_bytes.data() + std::size_t(nPicture) * nBytes,
                        nBytes);
            benchmark::ClobberMemory();
            std::memcpy(handedOver.data(), received.constData(), nBytes);
            benchmark::ClobberMemory();
        }
    }
    countBytes(state, *pStream);
}

#ifdef MORVEK_HAS_AVFORMAT
/** The stream over and over, for a demuxer. */
struct sEndlessStream
{
    StreamPointer m_pStream;
    std::size_t m_nNextRead = 0;
    int m_nUsed = 0; // bytes of it
};

int readSome(void *pOpaque, std::uint8_t *pTo, int nMost)
{
    auto &source = *static_cast<sEndlessStream *>(pOpaque);
    const sRead &read = source.m_pStream->m_reads[source.m_nNextRead];
    const int nBytes = std::min(nMost, read.m_nBytes - source.m_nUsed);
    std::memcpy(pTo, read.m_pBytes + source.m_nUsed, std::size_t(nBytes));
    source.m_nUsed += nBytes;
    if (source.m_nUsed == read.m_nBytes) {
        source.m_nNextRead = (source.m_nNextRead + 1) % source.m_pStream->m_reads.size();
        source.m_nUsed = 0;
    }
    return nBytes;
}

void demux(benchmark::State &state, const StreamPointer &pStream)
{
    sEndlessStream source{pStream};
    const int nReadBytes = pStream->m_reads.front().m_nBytes;
    auto *const pBuffer = static_cast<unsigned char *>(av_malloc(std::size_t(nReadBytes)));
    AVIOContext *pIo =
        avio_alloc_context(pBuffer, nReadBytes, 0, &source, readSome, nullptr, nullptr);
    AVFormatContext *pFormat = avformat_alloc_context();
    pFormat->pb = pIo;
    if (avformat_open_input(&pFormat, nullptr, av_find_input_format("mpjpeg"), nullptr) < 0) {
        state.SkipWithError("the demuxer does not take the stream");
        return;
    }
    AVPacket *pPacket = av_packet_alloc();
    for (auto _ : state) {
        for (int nPicture = 0; nPicture < pStream->m_nPictures; ++nPicture) {
            if (av_read_frame(pFormat, pPacket) < 0 || pPacket->size != pStream->m_nPictureBytes)
                state.SkipWithError("the demuxer lost a picture");
            av_packet_unref(pPacket);
        }
    }
    av_packet_free(&pPacket);
    avformat_close_input(&pFormat);
    av_freep(&pIo->buffer);
    avio_context_free(&pIo);
    countBytes(state, *pStream);
}
#endif

void addCase(int nPictureBytes, int nReadBytes, const std::string &strRead)
{
    const std::string strCase = "framing/" + std::to_string(nPictureBytes / 1000) + "kB_" + strRead;
    const auto add = [=](const char *pWay, auto run) {
        addWay(strCase, pWay, [=](benchmark::State &state) {
            run(state, makeStream(nPictureBytes, nReadBytes));
        })->MinTime(0.05);
    };
    add("ours", cut);
    add("floor", copyTwice);
    // Searched anew after each read, byte by byte, the small reads of large pictures take minutes.
    constexpr int MostReadsOfAPicture = 16;
    if (nPictureBytes / nReadBytes <= MostReadsOfAPicture)
        add("plain", cutPlainly);
#ifdef MORVEK_HAS_AVFORMAT
    add("ffmpeg", demux);
#endif
}

} // namespace

int main(int argc, char **argv)
{
#ifdef MORVEK_HAS_AVFORMAT
    av_log_set_level(AV_LOG_QUIET);
#endif
    for (const int nPictureBytes : {100'000, 1'000'000, 5'000'000}) {
        addCase(nPictureBytes, 1434, "1.4KiB");
        addCase(nPictureBytes, 16 * 1024, "16KiB");
        addCase(nPictureBytes, 64 * 1024, "64KiB");
        addCase(nPictureBytes, 256 * 1024, "256KiB");
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
