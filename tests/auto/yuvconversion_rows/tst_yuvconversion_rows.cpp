// Where the conversion reads and writes: widths, alignments, ends of rows, planes and strides.

#include <yuvconversion_p.h>

#include "yuvpictures.h"

#include <QtTest>

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <random>
#include <vector>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

Q_DECLARE_METATYPE(Morvek::EchoVideo::Internal::eYuvForm)

namespace {

constexpr uchar GuardByte = 0xa5;

/** Bytes up to whose end may be read and written; one more, and the process ends. */
class PageEnd
{
public:
    PageEnd()
        : m_nPage(size_t(sysconf(_SC_PAGESIZE)))
    {
        void *const pPages =
            mmap(nullptr, 2 * m_nPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        m_pPages = pPages == MAP_FAILED ? nullptr : static_cast<uchar *>(pPages);
        if (m_pPages && mprotect(m_pPages + m_nPage, m_nPage, PROT_NONE) == 0)
            std::memset(m_pPages, GuardByte, m_nPage);
    }
    ~PageEnd()
    {
        if (m_pPages)
            munmap(m_pPages, 2 * m_nPage);
    }

    bool isValid() const { return m_pPages != nullptr; }
    /** The last bytes of the page. */
    uchar *last(int nBytes) { return m_pPages + m_nPage - nBytes; }
    /** Whether all before the last bytes is as it was. */
    bool isUntouchedBefore(int nBytes) const
    {
        for (const uchar *p = m_pPages; p < m_pPages + m_nPage - nBytes; ++p) {
            if (*p != GuardByte)
                return false;
        }
        return true;
    }

private:
    Q_DISABLE_COPY(PageEnd)

    const size_t m_nPage;
    uchar *m_pPages = nullptr;
};

class RandomBytes
{
public:
    void fill(uchar *pBytes, int nBytes)
    {
        for (int i = 0; i < nBytes; ++i)
            pBytes[i] = uchar(m_generator());
    }

    int below(int nLimit) { return int(m_generator() % unsigned(nLimit)); }

private:
    std::mt19937 m_generator{20210531}; // the same bytes in every run
};

/** Whether two rows show what their samples become. */
bool isConverted(const sYuvRowPair &rows, int nWidth)
{
    for (int x = 0; x < nWidth; ++x) {
        const uchar nCb = rows.m_pCb[x / 2];
        const uchar nCr = rows.m_pCr[x / 2];
        if (rows.m_pUpperPixels[x] != yuvPixel({rows.m_pUpperY[x], nCb, nCr})
            || rows.m_pLowerPixels[x] != yuvPixel({rows.m_pLowerY[x], nCb, nCr}))
            return false;
    }
    return true;
}

/** What a pixel of a frame in a file becomes, looked up sample by sample. */
QRgb pixelInFrame(const std::vector<uchar> &frame, int nWidth, int nHeight, int x, int y)
{
    const size_t nLuma = size_t(nWidth) * size_t(nHeight);
    const size_t nChroma = size_t(y / 2) * size_t(nWidth / 2) + size_t(x / 2);
    return yuvPixel({frame[size_t(y) * size_t(nWidth) + size_t(x)],
                     frame[nLuma + nLuma / 4 + nChroma], frame[nLuma + nChroma]});
}

} // namespace

class TestYuvConversionRows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyWidthIsConvertedUpToItsLastPixel_data() { addForms(); }
    void everyWidthIsConvertedUpToItsLastPixel();
    void everyAlignmentOfEveryPointer_data() { addForms(); }
    void everyAlignmentOfEveryPointer();
    void aFrameIsReadPlaneByPlane_data() { addForms(); }
    void aFrameIsReadPlaneByPlane();
    void aWholeEchoPictureIsExact_data() { addForms(); }
    void aWholeEchoPictureIsExact();
    void theFormIsChosenWhereNoneIsNamed();

private:
    static void addForms();

    RandomBytes m_random;
};

void TestYuvConversionRows::addForms()
{
    QTest::addColumn<eYuvForm>("eForm");
    const std::pair<const char *, eYuvForm> forms[] = {
        {"plain", eYuvForm::Plain}, {"SSE2", eYuvForm::Sse2}, {"AVX2", eYuvForm::Avx2}};
    for (const auto &[pName, eForm] : forms) {
        if (isYuvFormSupported(eForm))
            QTest::newRow(pName) << eForm;
    }
}

void TestYuvConversionRows::everyWidthIsConvertedUpToItsLastPixel()
{
    QFETCH(eYuvForm, eForm);
    for (int nWidth = 2; nWidth <= 70; nWidth += 2) {
        std::array<PageEnd, 6> pages;
        for (const PageEnd &page : pages)
            QVERIFY(page.isValid());
        std::array<uchar *, 4> samples{pages[0].last(nWidth), pages[1].last(nWidth),
                                       pages[2].last(nWidth / 2), pages[3].last(nWidth / 2)};
        m_random.fill(samples[0], nWidth);
        m_random.fill(samples[1], nWidth);
        m_random.fill(samples[2], nWidth / 2);
        m_random.fill(samples[3], nWidth / 2);
        const sYuvRowPair rows{samples[0],
                               samples[1],
                               samples[2],
                               samples[3],
                               reinterpret_cast<quint32 *>(pages[4].last(nWidth * 4)),
                               reinterpret_cast<quint32 *>(pages[5].last(nWidth * 4))};
        convertYuvRowPair(eForm, rows, nWidth);
        QVERIFY2(isConverted(rows, nWidth), qPrintable(QString::number(nWidth)));
        QVERIFY(pages[4].isUntouchedBefore(nWidth * 4));
        QVERIFY(pages[5].isUntouchedBefore(nWidth * 4));
    }
}

void TestYuvConversionRows::everyAlignmentOfEveryPointer()
{
    QFETCH(eYuvForm, eForm);
    constexpr int Width = 70; // blocks and an end, in either fast form
    constexpr int Alignments = 64;
    constexpr int PixelAlignments = Alignments / int(sizeof(quint32));
    struct alignas(Alignments) sBuffers
    {
        uchar m_samples[4][2 * Alignments + Width];
        alignas(Alignments) quint32 m_pixels[2][2 * PixelAlignments + Width];
    };
    sBuffers buffers;
    for (int nPointer = 0; nPointer < 6; ++nPointer) {
        for (int nOffset = 0; nOffset < (nPointer < 4 ? Alignments : PixelAlignments); ++nOffset) {
            std::memset(&buffers, GuardByte, sizeof buffers);
            std::array<int, 6> offsets;
            for (int i = 0; i < 6; ++i)
                offsets[size_t(i)] = m_random.below(i < 4 ? Alignments : PixelAlignments);
            offsets[size_t(nPointer)] = nOffset;
            std::array<uchar *, 4> samples;
            for (size_t i = 0; i < 4; ++i) {
                samples[i] = buffers.m_samples[i] + offsets[i];
                m_random.fill(samples[i], i < 2 ? Width : Width / 2);
            }
            const sYuvRowPair rows{samples[0],
                                   samples[1],
                                   samples[2],
                                   samples[3],
                                   buffers.m_pixels[0] + offsets[4],
                                   buffers.m_pixels[1] + offsets[5]};
            convertYuvRowPair(eForm, rows, Width);
            QVERIFY2(
                isConverted(rows, Width),
                qPrintable(QStringLiteral("pointer %1, offset %2").arg(nPointer).arg(nOffset)));
            QCOMPARE(rows.m_pUpperPixels[Width], 0xa5a5a5a5u);
            QCOMPARE(rows.m_pLowerPixels[Width], 0xa5a5a5a5u);
        }
    }
}

void TestYuvConversionRows::aFrameIsReadPlaneByPlane()
{
    QFETCH(eYuvForm, eForm);
    constexpr int Width = 38;
    constexpr int Height = 6;
    constexpr int PixelsPerLine = Width + 3;
    std::vector<uchar> frame(Width * Height * 3 / 2);
    m_random.fill(frame.data(), int(frame.size()));
    std::vector<quint32> pixels(PixelsPerLine * Height, 0xa5a5a5a5u);
    convertYUV420ToRGB({frame.data(), Width, Height}, reinterpret_cast<uchar *>(pixels.data()),
                       PixelsPerLine * 4, eForm);
    for (int y = 0; y < Height; ++y) {
        for (int x = 0; x < PixelsPerLine; ++x) {
            const quint32 nExpected =
                x < Width ? pixelInFrame(frame, Width, Height, x, y) : 0xa5a5a5a5u;
            QCOMPARE(pixels[size_t(y * PixelsPerLine + x)], nExpected);
        }
    }
}

void TestYuvConversionRows::aWholeEchoPictureIsExact()
{
    QFETCH(eYuvForm, eForm);
    constexpr int Width = 1920;
    constexpr int Height = 1080;
    std::vector<uchar> frame(YuvFrameBytes);
    m_random.fill(frame.data(), int(frame.size()));
    std::vector<quint32> pixels(Width * Height);
    convertYUV420ToRGB({frame.data(), Width, Height}, reinterpret_cast<uchar *>(pixels.data()),
                       Width * 4, eForm);
    int nDifferent = 0;
    for (int y = 0; y < Height; ++y) {
        for (int x = 0; x < Width; ++x)
            nDifferent += pixels[size_t(y * Width + x)] != pixelInFrame(frame, Width, Height, x, y);
    }
    QCOMPARE(nDifferent, 0);
}

void TestYuvConversionRows::theFormIsChosenWhereNoneIsNamed()
{
    std::vector<uchar> frame(64 * 2 * 3 / 2);
    m_random.fill(frame.data(), int(frame.size()));
    std::vector<quint32> pixels(64 * 2);
    convertYUV420ToRGB({frame.data(), 64, 2}, reinterpret_cast<uchar *>(pixels.data()), 64 * 4);
    for (int i = 0; i < 64 * 2; ++i)
        QCOMPARE(pixels[size_t(i)], pixelInFrame(frame, 64, 2, i % 64, i / 64));
}

QTEST_GUILESS_MAIN(TestYuvConversionRows)
#include "tst_yuvconversion_rows.moc"
