// The values of the conversion, in every form that this processor can run; and which form is chosen.

#include <yuvconversion_forms_p.h>
#include <yuvconversion_p.h>

#include "yuvpictures.h"

#include <QFile>
#include <QtTest>

#include <array>
#include <cstring>
#include <vector>

using namespace Morvek::EchoVideo::Internal;
using namespace Morvek::Tests;

Q_DECLARE_METATYPE(Morvek::EchoVideo::Internal::eYuvForm)

namespace {

constexpr int Values = 256;

/** All values of luma in two rows, over one value of either chroma; and the pixels. */
struct sLumaSweep
{
    static constexpr int Width = Values / 2;

    sLumaSweep()
    {
        for (int y = 0; y < Values; ++y)
            m_luma[size_t(y)] = uchar(y);
    }

    /** Converts both rows, so many columns at once. */
    void convert(eYuvForm eForm, int nCb, int nCr, int nColumns)
    {
        m_cb.fill(uchar(nCb));
        m_cr.fill(uchar(nCr));
        m_pixels.fill(0);
        for (int x = 0; x < Width; x += nColumns) {
            const sYuvRowPair rows{m_luma.data() + x,   m_luma.data() + Width + x,
                                   m_cr.data() + x / 2, m_cb.data() + x / 2,
                                   m_pixels.data() + x, m_pixels.data() + Width + x};
            convertYuvRowPair(eForm, rows, qMin(nColumns, Width - x));
        }
    }

    std::array<uchar, Values> m_luma;
    std::array<uchar, Width / 2> m_cb;
    std::array<uchar, Width / 2> m_cr;
    std::array<quint32, Values> m_pixels; // of luma 0 to 255
};

bool hasProcessorFlag(const QByteArray &baFlag)
{
    QFile file(QStringLiteral("/proc/cpuinfo"));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &baLine : lines) {
        if (baLine.startsWith("flags"))
            return baLine.simplified().split(' ').contains(baFlag);
    }
    return false;
}

} // namespace

class TestYuvConversion : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();

    void everyTripleIsExact_data();
    void everyTripleIsExact();
    void wellKnownColoursComeOutRight_data();
    void wellKnownColoursComeOutRight();

    void thePlainFormRunsAnywhere();
    void aFormIsSupportedWhereTheProcessorHasIt_data();
    void aFormIsSupportedWhereTheProcessorHasIt();
    void theBestFormIsTheFastestThatRuns();
    void aFastFormConvertsWholeBlocksFromTheLeft_data();
    void aFastFormConvertsWholeBlocksFromTheLeft();

private:
    /** What luma 0 to 255 become over one pair of chroma values. */
    const quint32 *expectedPixels(int nCb, int nCr) const
    {
        return m_expected.data() + (size_t(nCb) * Values + size_t(nCr)) * Values;
    }

    std::vector<quint32> m_expected; // of all triples
};

void TestYuvConversion::initTestCase()
{
    m_expected.reserve(size_t(Values) * Values * Values);
    for (int nCb = 0; nCb < Values; ++nCb) {
        for (int nCr = 0; nCr < Values; ++nCr) {
            for (int y = 0; y < Values; ++y)
                m_expected.push_back(yuvPixel({uchar(y), uchar(nCb), uchar(nCr)}));
        }
    }
}

void TestYuvConversion::everyTripleIsExact_data()
{
    QTest::addColumn<eYuvForm>("eForm");
    QTest::addColumn<int>("nColumns");
    QTest::newRow("plain") << eYuvForm::Plain << 128;
    QTest::newRow("SSE2, blocks only") << eYuvForm::Sse2 << 128;
    QTest::newRow("SSE2, ends of rows only") << eYuvForm::Sse2 << 14;
    QTest::newRow("AVX2, blocks only") << eYuvForm::Avx2 << 128;
    QTest::newRow("AVX2, ends of rows only") << eYuvForm::Avx2 << 30;
}

void TestYuvConversion::everyTripleIsExact()
{
    QFETCH(eYuvForm, eForm);
    QFETCH(int, nColumns);
    if (!isYuvFormSupported(eForm))
        QSKIP("this processor cannot run the form");
    sLumaSweep sweep;
    for (int nCb = 0; nCb < Values; ++nCb) {
        for (int nCr = 0; nCr < Values; ++nCr) {
            sweep.convert(eForm, nCb, nCr, nColumns);
            const quint32 *const pExpected = expectedPixels(nCb, nCr);
            if (std::memcmp(sweep.m_pixels.data(), pExpected, sizeof sweep.m_pixels) == 0)
                continue;
            for (int y = 0; y < Values; ++y) {
                const QByteArray baWhat = QStringLiteral("Y %1, Cb %2, Cr %3 gives %4, expected %5")
                                              .arg(y)
                                              .arg(nCb)
                                              .arg(nCr)
                                              .arg(sweep.m_pixels[size_t(y)], 8, 16)
                                              .arg(pExpected[y], 8, 16)
                                              .toUtf8();
                QVERIFY2(sweep.m_pixels[size_t(y)] == pExpected[y], baWhat.constData());
            }
        }
    }
}

// The expected values do not come from the formula.
void TestYuvConversion::wellKnownColoursComeOutRight_data()
{
    QTest::addColumn<int>("y");
    QTest::addColumn<int>("nCb");
    QTest::addColumn<int>("nCr");
    QTest::addColumn<QRgb>("pixel");
    QTest::newRow("black") << 16 << 128 << 128 << qRgb(0, 0, 0);
    QTest::newRow("white") << 235 << 128 << 128 << qRgb(255, 255, 255);
    QTest::newRow("blacker than black") << 0 << 128 << 128 << qRgb(0, 0, 0);
    QTest::newRow("whiter than white") << 255 << 128 << 128 << qRgb(255, 255, 255);
    QTest::newRow("red of BT.709") << 63 << 102 << 240 << qRgb(255, 0, 0);
    QTest::newRow("green of BT.709") << 173 << 42 << 26 << qRgb(0, 255, 0);
    QTest::newRow("blue of BT.709") << 32 << 240 << 118 << qRgb(0, 0, 255);
}

void TestYuvConversion::wellKnownColoursComeOutRight()
{
    QFETCH(int, y);
    QFETCH(int, nCb);
    QFETCH(int, nCr);
    QFETCH(QRgb, pixel);
    sLumaSweep sweep;
    sweep.convert(bestYuvForm(), nCb, nCr, sLumaSweep::Width);
    const QRgb converted = sweep.m_pixels[size_t(y)];
    QCOMPARE(qAlpha(converted), 255);
    // A triple of bytes is never exactly the colour that it was made of.
    QVERIFY(qAbs(qRed(converted) - qRed(pixel)) <= 2);
    QVERIFY(qAbs(qGreen(converted) - qGreen(pixel)) <= 2);
    QVERIFY(qAbs(qBlue(converted) - qBlue(pixel)) <= 2);
}

void TestYuvConversion::thePlainFormRunsAnywhere()
{
    QVERIFY(isYuvFormSupported(eYuvForm::Plain));
}

void TestYuvConversion::aFormIsSupportedWhereTheProcessorHasIt_data()
{
    QTest::addColumn<eYuvForm>("eForm");
    QTest::addColumn<QByteArray>("baFlag");
    QTest::newRow("SSE2") << eYuvForm::Sse2 << QByteArray("sse2");
    QTest::newRow("AVX2") << eYuvForm::Avx2 << QByteArray("avx2");
}

void TestYuvConversion::aFormIsSupportedWhereTheProcessorHasIt()
{
    QFETCH(eYuvForm, eForm);
    QFETCH(QByteArray, baFlag);
    QCOMPARE(isYuvFormSupported(eForm), hasProcessorFlag(baFlag));
}

void TestYuvConversion::theBestFormIsTheFastestThatRuns()
{
    const eYuvForm eExpected = hasProcessorFlag("avx2") ? eYuvForm::Avx2
                             : hasProcessorFlag("sse2") ? eYuvForm::Sse2
                                                        : eYuvForm::Plain;
    QVERIFY(bestYuvForm() == eExpected);
}

void TestYuvConversion::aFastFormConvertsWholeBlocksFromTheLeft_data()
{
    QTest::addColumn<eYuvForm>("eForm");
    QTest::addColumn<int>("nBlock");
    QTest::newRow("SSE2") << eYuvForm::Sse2 << 16;
    QTest::newRow("AVX2") << eYuvForm::Avx2 << 32;
}

void TestYuvConversion::aFastFormConvertsWholeBlocksFromTheLeft()
{
#if MORVEK_HAS_X86_YUV_FORMS
    QFETCH(eYuvForm, eForm);
    QFETCH(int, nBlock);
    if (!isYuvFormSupported(eForm))
        QSKIP("this processor cannot run the form");
    const auto convertBlocks =
        eForm == eYuvForm::Avx2 ? convertYuvBlocksAvx2 : convertYuvBlocksSse2;
    const std::array<uchar, 70> samples{};
    for (int nWidth = 0; nWidth <= 70; nWidth += 2) {
        std::array<quint32, 70> upper{};
        std::array<quint32, 70> lower{};
        const int nConverted = convertBlocks({samples.data(), samples.data(), samples.data(),
                                              samples.data(), upper.data(), lower.data()},
                                             nWidth);
        QCOMPARE(nConverted, nWidth - nWidth % nBlock);
        for (int x = 0; x < 70; ++x) {
            QCOMPARE(upper[size_t(x)] != 0, x < nConverted);
            QCOMPARE(lower[size_t(x)] != 0, x < nConverted);
        }
    }
#else
    QSKIP("no fast form for this kind of processor");
#endif
}

QTEST_GUILESS_MAIN(TestYuvConversion)
#include "tst_yuvconversion.moc"
